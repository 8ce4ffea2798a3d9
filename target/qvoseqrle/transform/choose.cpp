// Choosing between two sequences by the conditions of a third: iif reads both in lock-step, if reads only the one that
// is chosen.
//
// Values are moved and never looked at, so the members of one width share their code. Both walk three operands at a
// time, so they have walks of their own here; as in core/overlap.h, a stretch of steps of the same shape is taken as a
// whole, and what is left where it ends is what single steps leave.
#include "core/construct.h"
#include "core/move.h"
#include "core/overlap.h"

namespace qvo {
namespace {

const uint8_t* current_value(const Operand& operand, size_t width) {
    return values_of<uint8_t>(operand.iterator()) + operand.index() * width;
}

/// out[i] = conditions[i] is true ? left[i * LeftStep] : right[i * RightStep]. Both values are loaded, and one is
/// chosen without a branch.
template <class Bits, size_t LeftStep, size_t RightStep>
QVO_INLINE void blend_fixed(uint8_t* __restrict out, const uint8_t* __restrict conditions,
                            const uint8_t* __restrict left, const uint8_t* __restrict right, size_t n) {
    for (size_t i = 0; i < n; ++i) {
        Bits a, b;
        std::memcpy(&a, left + i * LeftStep * sizeof a, sizeof a);
        std::memcpy(&b, right + i * RightStep * sizeof b, sizeof b);
        const Bits chosen = conditions[i] != 0 ? a : b;
        std::memcpy(out + i * sizeof chosen, &chosen, sizeof chosen);
    }
}

template <class Bits>
QVO_CPU_VARIANTS void blend(uint8_t* out, const uint8_t* conditions, const uint8_t* left, bool many_left,
                            const uint8_t* right, bool many_right, size_t n) {
    if (many_left && many_right)
        blend_fixed<Bits, 1, 1>(out, conditions, left, right, n);
    else if (many_left)
        blend_fixed<Bits, 1, 0>(out, conditions, left, right, n);
    else if (many_right)
        blend_fixed<Bits, 0, 1>(out, conditions, left, right, n);
    else
        blend_fixed<Bits, 0, 0>(out, conditions, left, right, n);
}

void blend_strings(uint8_t* out, size_t width, const uint8_t* conditions, const uint8_t* left, bool many_left,
                   const uint8_t* right, bool many_right, size_t n) {
    for (size_t i = 0; i < n; ++i) {
        std::memcpy(out + i * width, conditions[i] != 0 ? left : right, width);
        if (many_left) left += width;
        if (many_right) right += width;
    }
}

/// One value for each condition: from neighbouring elements, or all from the same one.
void blend_values(uint8_t* out, size_t width, const uint8_t* conditions, const uint8_t* left, bool many_left,
                  const uint8_t* right, bool many_right, size_t n) {
    switch (width) {
        case 1:
            return blend<uint8_t>(out, conditions, left, many_left, right, many_right, n);
        case 2:
            return blend<uint16_t>(out, conditions, left, many_left, right, many_right, n);
        case 4:
            return blend<uint32_t>(out, conditions, left, many_left, right, many_right, n);
        case 8:
            return blend<uint64_t>(out, conditions, left, many_left, right, many_right, n);
        default:
            return blend_strings(out, width, conditions, left, many_left, right, many_right, n);
    }
}

void repeat_value(uint8_t* out, size_t width, const uint8_t* from, size_t n) {
    with_mover(
        width, [=](auto mover) __attribute__((always_inline)) { mover.fill(out, 0, from, 0, n); });
}

/// Single steps: where the values come from is noted down, and they are moved together.
class Singles {
 public:
    QVO_INLINE Singles(TileWriter& out, uint8_t* values, size_t width) : out_(out), values_(values), width_(width) {}

    QVO_INLINE void put(const uint8_t* value, unsigned run) {
        from_[n_++] = value;
        out_.put_run(run);
    }
    void move() {
        uint8_t* const to = values_ + (out_.size() - n_) * width_;
        with_mover(
            width_, [ =, this ](auto mover) __attribute__((always_inline)) {
                for (size_t i = 0; i < n_; ++i) mover.move(to, i, from_[i], 0);
            });
        n_ = 0;
    }

 private:
    TileWriter& out_;
    uint8_t* values_;
    size_t width_;
    size_t n_ = 0;
    const uint8_t* from_[most_single_steps];
};

/// The operands of one call, and its result.
struct Choice {
    Operand condition, left, right;  // left is chosen where the condition is true
    size_t width;
    uint8_t* values;
    TileWriter out;
    Singles singles;
    size_t n_single = fewest_single_steps;

    explicit Choice(qvo_seq_iterator_h it)
        : condition(it->opd[0]),
          left(it->opd[1]),
          right(it->opd[2]),
          width(it->elem_size),
          values(values_of<uint8_t>(it)),
          out(it, capacity_of(width)),
          singles(out, values, width) {}

    const uint8_t* conditions() const { return values_of<uint8_t>(condition.iterator()) + condition.index(); }
    Operand& chosen() { return *conditions() != 0 ? left : right; }
    uint8_t* next_value() const { return values + out.size() * width; }
    bool used_up() const { return condition.used_up() || left.used_up() || right.used_up(); }

    /// Up to n_single calls of step(), which takes one overlap.
    template <class Step> void single_steps(Step step) {
        for (size_t n = std::min(out.room(), n_single); n != 0 && !used_up(); --n) step();
        singles.move();
        n_single = std::min(n_single * 2, most_single_steps);
    }

    /// Refills in order and takes a stretch or single steps, until the tile is full or an operand stops.
    template <class Stretch, class Step> QVO_RET walk(Where where, Stretch stretch, Step step) {
        QVO_RET rc = QVO_S_OK;
        while (out.room() != 0) {
            if (rc = refill_all(where, condition, left, right); rc != QVO_S_OK) break;
            if (stretch())
                n_single = fewest_single_steps;
            else
                single_steps(step);
        }
        condition.store();
        left.store();
        right.store();
        return out.finish(rc);
    }
};

// ---- iif ----
//
// Deliberate: a step takes the smallest of the three whole runs, also from operands that are in the middle of theirs.
// Where runs do not line up, a read position passes the end of its run, and the element stays until the position, a
// byte, comes round to the run.

/// An operand in a stretch of iif steps: it moves on with each step, or stays within its run during all of them.
struct Pace {
    bool moves, stays;

    QVO_INLINE Pace(const Operand& operand, unsigned run)
        : moves(operand.run() == run && operand.taken() == 0), stays(!moves && operand.taken() < operand.run()) {}
};

QVO_INLINE void take(Operand& operand, Pace pace, RunSpan span) {
    if (pace.moves)
        operand.skip(span.elements);
    else
        operand.take(span.positions);
}

QVO_INLINE unsigned smallest_run(const Choice& c) { return std::min({c.condition.run(), c.left.run(), c.right.run()}); }

/// Takes a stretch in which one, two or all three operands move on together; false if there is none worth it.
bool iif_stretch(Choice& c) {
    const unsigned run = smallest_run(c);
    Operand* const operands[] = {&c.condition, &c.left, &c.right};
    const Pace paces[] = {{c.condition, run}, {c.left, run}, {c.right, run}};
    const uint8_t* runs = nullptr;  // of the operands that move
    RunSpan span{c.out.room(), 0};
    for (size_t k = 0; k < 3; ++k) {
        if (!paces[k].moves) continue;
        span.elements = std::min(span.elements, operands[k]->elements_left());
        if (runs == nullptr) runs = operands[k]->runs();
        span = equal_runs(runs, operands[k]->runs(), span.elements);
    }
    if (runs == nullptr) return false;
    for (size_t k = 0; k < 3; ++k) {
        if (paces[k].moves) continue;
        if (!paces[k].stays) return false;
        span = elements_within(runs, span.elements, operands[k]->run_left());
    }
    if (span.elements < shortest_stretch) return false;

    if (paces[0].moves)
        blend_values(c.next_value(), c.width, c.conditions(), current_value(c.left, c.width), paces[1].moves,
                     current_value(c.right, c.width), paces[2].moves, span.elements);
    else if (Operand& chosen = c.chosen(); Pace(chosen, run).moves)
        std::memcpy(c.next_value(), current_value(chosen, c.width), span.elements * c.width);
    else
        repeat_value(c.next_value(), c.width, current_value(chosen, c.width), span.elements);
    c.out.put_runs(runs, span);
    for (size_t k = 0; k < 3; ++k) take(*operands[k], paces[k], span);
    return true;
}

QVO_RET iif_next(qvo_seq_iterator_h it, Where where) {
    Choice c(it);
    const auto step = [&c] {
        const unsigned run = smallest_run(c);
        c.singles.put(current_value(c.chosen(), c.width), run);
        c.condition.take(run);
        c.left.take(run);
        c.right.take(run);
    };
    return c.walk(
        where, [&c] { return iif_stretch(c); }, step);
}

// ---- if ----

/// The side of a choice in a stretch of conditions of run 1: an array of elements of run 1, or a value that repeats.
struct Supply {
    size_t step;   // bytes from one value to the next
    size_t limit;  // values that there are at least

    Supply(const Operand& operand, size_t width, size_t wanted) : step(0), limit(operand.run_left()) {
        if (limit != 1 || operand.taken() != 0) return;
        step = width;
        limit = leading_single_runs(operand.runs(), std::min(operand.elements_left(), wanted));
    }
    void take(Operand& operand, size_t n) const {
        if (step == 0)
            operand.take(static_cast<unsigned>(n));
        else
            operand.skip(n);
    }
};

/// Each condition takes the next value of its side; returns how many were true. The step is 0 or the width.
template <class Mover>
QVO_INLINE size_t deal_with(Mover mover, uint8_t* __restrict out, const uint8_t* __restrict conditions,
                            const uint8_t* __restrict left, size_t left_step, const uint8_t* __restrict right,
                            size_t right_step, size_t n) {
    size_t n_left = 0, at_left = 0, at_right = 0;
    for (size_t i = 0; i < n; ++i) {
        const bool is_true = conditions[i] != 0;
        mover.move(out, i, is_true ? left + at_left : right + at_right, 0);
        at_left += is_true ? left_step : 0;
        at_right += is_true ? 0 : right_step;
        n_left += is_true;
    }
    return n_left;
}

/// Takes conditions of run 1, over sides that can supply a value to each of them.
bool deal_stretch(Choice& c) {
    if (c.condition.run() != 1 || c.condition.taken() != 0) return false;
    size_t n = leading_single_runs(c.condition.runs(), std::min(c.out.room(), c.condition.elements_left()));
    if (n < shortest_stretch) return false;
    const Supply from_left(c.left, c.width, n), from_right(c.right, c.width, n);
    n = std::min({n, from_left.limit, from_right.limit});
    if (n < shortest_stretch) return false;
    const size_t n_left = with_mover(
        c.width, [&](auto mover) __attribute__((always_inline)) {
            return deal_with(mover, c.next_value(), c.conditions(), current_value(c.left, c.width), from_left.step,
                             current_value(c.right, c.width), from_right.step, n);
        });
    c.out.put_equal_runs(n, 1);
    c.condition.skip(n);
    from_left.take(c.left, n_left);
    from_right.take(c.right, n - n_left);
    return true;
}

/// Takes elements of the chosen side that one condition covers.
bool chosen_stretch(Choice& c) {
    Operand& chosen = c.chosen();
    if (chosen.taken() != 0) return false;
    const RunSpan span =
        elements_within(chosen.runs(), std::min(c.out.room(), chosen.elements_left()), c.condition.run_left());
    if (span.elements < shortest_stretch) return false;
    std::memcpy(c.next_value(), current_value(chosen, c.width), span.elements * c.width);
    c.out.put_runs(chosen.runs(), span);
    c.condition.take(span.positions);
    chosen.skip(span.elements);
    return true;
}

QVO_RET if_next(qvo_seq_iterator_h it, Where where) {
    Choice c(it);
    const auto step = [&c] {
        Operand& chosen = c.chosen();
        const unsigned run = std::min(c.condition.run_left(), chosen.run_left());
        c.singles.put(current_value(chosen, c.width), run);
        c.condition.take(run);
        chosen.take(run);
    };
    return c.walk(
        where, [&c] { return deal_stretch(c) || chosen_stretch(c); }, step);
}

// ---- What both have in common ----

QVO_RET construct_choice(qvo_seq_iterator_h result, qvo_seq_iterator_h condition, qvo_seq_iterator_h left,
                         qvo_seq_iterator_h right, ElementLayout layout, qvo_seq_iterator_next_t next,
                         qvo_seq_iterator_reset_t reset) {
    if (!has_type(condition, elem_bool::code) || !has_type(left, layout.type) || !has_type(right, layout.type))
        return QVO_E_ILLEGAL_TYPE;
    if (layout.type == QVO_DD_CHAR && left->elem_size != right->elem_size) return QVO_E_ILLEGAL_TYPE;
    if (const QVO_RET rc = bind({condition, left, right}); rc != QVO_S_OK) return rc;
    fill_result(result, layout, {condition, left, right}, next, reset);
    return QVO_S_OK;
}

QVO_RET reset_choice(qvo_seq_iterator_h it) {
    for (qvo_seq_iterator_h side : {it->opd[1], it->opd[2]})
        if (const QVO_RET rc = side->reset(side); rc != QVO_S_OK) return rc;
    return qvo_seq_reset_unary_iterator(it);
}

}  // namespace

extern "C" QVO_API QVO_RET qvo_seq_iif_reset(qvo_seq_iterator_h iterator) { return reset_choice(iterator); }
extern "C" QVO_API QVO_RET qvo_seq_if_reset(qvo_seq_iterator_h iterator) { return reset_choice(iterator); }

#define STAMP(type, code, width)                                                                                      \
    extern "C" QVO_API QVO_RET qvo_seq_iif_##type##_next(qvo_seq_iterator_h it) {                                     \
        return iif_next(it, Where::here());                                                                           \
    }                                                                                                                 \
    extern "C" QVO_API QVO_RET qvo_seq_if_##type##_next(qvo_seq_iterator_h it) { return if_next(it, Where::here()); } \
    extern "C" QVO_API QVO_RET qvo_seq_iif_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h cond,                 \
                                                  qvo_seq_iterator_h then_iter, qvo_seq_iterator_h else_iter) {       \
        return construct_choice(result, cond, then_iter, else_iter, {code, width}, qvo_seq_iif_##type##_next,         \
                                qvo_seq_iif_reset);                                                                   \
    }                                                                                                                 \
    extern "C" QVO_API QVO_RET qvo_seq_if_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h cond,                  \
                                                 qvo_seq_iterator_h then_iter, qvo_seq_iterator_h else_iter) {        \
        return construct_choice(result, cond, then_iter, else_iter, {code, width}, qvo_seq_if_##type##_next,          \
                                qvo_seq_if_reset);                                                                    \
    }
#define STAMP_FIXED(type) STAMP(type, elem_##type::code, elem_##type::width)
QVO_SEQ_FOR_FIXED_TYPES(STAMP_FIXED)
STAMP(char, QVO_DD_CHAR, then_iter->elem_size)
#undef STAMP_FIXED
#undef STAMP

}  // namespace qvo
