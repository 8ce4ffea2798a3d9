// Choosing between two sequences by the conditions of a third: iif reads both in lock-step, if reads only the one that
// is chosen.
//
// Values are moved and never looked at, so the members of one width share their code.
#include "core/elementwise.h"
#include "core/move.h"
#include "transform/choice_row.h"
#include "transform/deal.h"

namespace qvo {
namespace {

// ---- iif ----
//
// A three-operand element-wise family like any other, but for one deliberate thing: a step takes the smallest of the
// three whole runs, also from operands that are in the middle of theirs. Where runs do not line up, a read position
// passes the end of its run, and the element stays until the position, a byte, comes round to the run.

/// out[i] = conditions[i] is true ? left[i * LeftStep] : right[i * RightStep]. Both values are loaded, and one is
/// chosen without a branch.
template <class Bits, size_t LeftStep, size_t RightStep>
QVO_INLINE void blend(uint8_t* __restrict out, const uint8_t* __restrict conditions, const uint8_t* __restrict left,
                      const uint8_t* __restrict right, size_t n) {
    for (size_t i = 0; i < n; ++i) {
        Bits a, b;
        std::memcpy(&a, left + i * LeftStep * sizeof a, sizeof a);
        std::memcpy(&b, right + i * RightStep * sizeof b, sizeof b);
        const Bits chosen = conditions[i] != 0 ? a : b;
        std::memcpy(out + i * sizeof chosen, &chosen, sizeof chosen);
    }
}

/// The loops of a width: Bits is the unsigned integer of the width, or void for strings, which are moved one by one.
template <class Bits> struct ChoiceLoops {
    static constexpr size_t n_operands = 3;
    static constexpr auto from = Operand::Values::anywhere;
    using Values = Loops<3>::Values;

    template <unsigned Set>
    QVO_INLINE static void loop(qvo_seq_iterator_h it, size_t to, const Values& values, At<3> from, size_t n) {
        constexpr size_t left_step = Set >> 1 & 1, right_step = Set >> 2 & 1;
        const size_t width = it->elem_size;
        const auto value = [&](size_t k) { return values[k] + from[k] * width; };
        uint8_t* const out = values_of<uint8_t>(it) + to * width;
        const uint8_t* const conditions = values[0] + from[0];
        if constexpr ((Set & 1) == 0) {
            const size_t chosen = *conditions != 0 ? 1 : 2;
            if ((Set >> chosen & 1) != 0)
                std::memcpy(out, value(chosen), n * width);
            else
                with_mover(
                    width, [&](auto mover) __attribute__((always_inline)) { mover.fill(out, 0, value(chosen), 0, n); });
        } else if constexpr (std::is_void_v<Bits>) {
            for (size_t i = 0; i < n; ++i)
                std::memcpy(out + i * width,
                            conditions[i] != 0 ? value(1) + i * left_step * width : value(2) + i * right_step * width,
                            width);
        } else {
            blend<Bits, left_step, right_step>(out, conditions, value(1), value(2), n);
        }
    }
    template <unsigned Set> static constexpr auto stretch = for_cpu<loop<Set>>;
    static void singles(qvo_seq_iterator_h it, size_t to, const Values& values, const Loops<3>::Steps& steps,
                        size_t n) {
        const uint8_t *const conditions = values[0], *const left = values[1], *const right = values[2];
        uint8_t* const out = values_of<uint8_t>(it);
        with_mover(
            it->elem_size, [ =, &steps ](auto mover) __attribute__((always_inline)) {
                for (size_t i = 0; i < n; ++i) {
                    const bool is_true = conditions[steps.index[0][i]] != 0;
                    mover.move(out, to + i, is_true ? left : right, steps.index[is_true ? 1 : 2][i]);
                }
            });
    }
};

QVO_RET iif_next(qvo_seq_iterator_h it, Where where) {
    const Loops<3>* loops = with_unsigned(
        it->elem_size, [](auto bits) { return &loops_of<ChoiceLoops<decltype(bits)>>; },
        [] { return &loops_of<ChoiceLoops<void>>; });
    return whole_run_next(it, *loops, where);
}

// ---- if ----
//
// All three operands are refilled, but a step takes from two of them only: the condition, and the side that it chooses.

const uint8_t* current_value(const Operand& operand, size_t width) {
    return values_of<uint8_t>(operand.iterator()) + operand.index() * width;
}

/// Single steps: where the values come from is noted down, and they are moved together.
class Singles {
 public:
    QVO_INLINE Singles(TileWriter& out, uint8_t* values, size_t width) : out_(out), values_(values), width_(width) {}

    QVO_INLINE void put(const uint8_t* value, unsigned run) {
        from_[n_++] = value;
        out_.put_run(run);
    }
    /// The i-th of a row, whose runs are written ahead; `advance` closes the row.
    QVO_INLINE void note(size_t i, const uint8_t* value) { from_[i] = value; }
    QVO_INLINE void advance(RunSpan span) {
        n_ = span.elements;
        out_.advance(span);
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
    Operand operands[3];
    Operand &condition = operands[0], &left = operands[1], &right = operands[2];  // left where the condition is true
    size_t width;
    uint8_t *values, *runs;
    TileWriter out;
    Singles singles;

    explicit Choice(qvo_seq_iterator_h it)
        : operands{Operand(it->opd[0]), Operand(it->opd[1]), Operand(it->opd[2])},
          width(it->elem_size),
          values(values_of<uint8_t>(it)),
          runs(runs_of(it)),
          out(it),
          singles(out, values, width) {}
    Choice(const Choice&) = delete;

    const uint8_t* conditions() const { return values_of<uint8_t>(condition.iterator()) + condition.index(); }
    Operand& chosen() { return *conditions() != 0 ? left : right; }
    uint8_t* next_value() const { return values + out.size() * width; }
    uint8_t* next_run() const { return runs - out.size(); }
};

/// The side of a choice in a stretch of conditions of one run: an array of elements of that run, or a value that repeats.
struct Supply {
    size_t step;   // bytes from one value to the next
    size_t limit;  // values that there are at least
    unsigned run;

    Supply(const Operand& operand, size_t width, size_t wanted, unsigned run_of_all)
        : step(0), limit(operand.run_left() / run_of_all), run(run_of_all) {
        if (operand.run() != run || operand.taken() != 0) return;
        step = width;
        limit = leading_same_runs(operand.runs(), run, std::min(operand.elements_left(), wanted));
    }
    void take(Operand& operand, size_t n) const {
        if (step == 0)
            operand.take(static_cast<unsigned>(n) * run);
        else
            operand.skip(n);
    }
};

/// Takes conditions of one run, over sides that can supply a value to each of them.
bool deal_stretch(Choice& c) {
    const unsigned run = c.condition.run();
    if (run == 0 || c.condition.taken() != 0) return false;
    size_t n = leading_same_runs(c.condition.runs(), run, std::min(c.out.room(), c.condition.elements_left()));
    if (n < shortest_stretch) return false;
    const Supply from_left(c.left, c.width, n, run), from_right(c.right, c.width, n, run);
    n = std::min({n, from_left.limit, from_right.limit});
    if (n < shortest_stretch) return false;
    const size_t n_left =
        deal(c.width, c.next_value(), c.conditions(), n, {current_value(c.left, c.width), from_left.step},
             {current_value(c.right, c.width), from_right.step});
    c.out.put_equal_runs(n, run);
    c.condition.skip(n);
    from_left.take(c.left, n_left);
    from_right.take(c.right, n - n_left);
    return true;
}

/// Takes short runs that cross.
bool crossing_stretch(Choice& c) {
    ChoiceRow row;
    cross_choices(c.operands, c.out.room(), row);
    if (row.span.elements == 0) return false;
    uint8_t *const to = c.next_value(), *const runs = c.next_run();
    with_mover(
        c.width, [&](auto mover) __attribute__((always_inline)) {
            for (const ChoiceRow::Side& side : row.sides) {
                const uint8_t* const values = values_of<uint8_t>((&side == row.sides ? c.right : c.left).iterator());
                for (size_t i = 0; i < side.n; ++i) {
                    const size_t place = side.place(i);
                    mover.move(to, place, values, side.element[i]);
                    set_run(runs, place, side.run[i]);
                }
            }
        });
    c.out.advance(row.span);
    return true;
}

/// Takes elements of the chosen side that one condition covers.
bool chosen_stretch(Choice& c) {
    Operand& chosen = c.chosen();
    if (chosen.taken() != 0) return false;
    const RunSpan span = elements_within(chosen.runs(), std::min(c.out.room(), chosen.elements_left()),
                                         c.condition.run_left(), c.condition.run_left());
    if (span.elements < shortest_stretch) return false;
    std::memcpy(c.next_value(), current_value(chosen, c.width), span.elements * c.width);
    c.out.put_runs(chosen.runs(), span);
    c.condition.take(span.positions);
    chosen.skip(span.elements);
    return true;
}

/// A side of a choice, or the condition, between elements: where the current one lies, and what is left of its run.
struct Tracked {
    const uint8_t* value;
    const uint8_t* run;
    unsigned left;

    Tracked(const Operand& operand, size_t width)
        : value(current_value(operand, width)), run(operand.runs()), left(operand.run_left()) {}
    /// Takes positions, at most those that are left, and moves on at the end of a run: without a branch, as nothing
    /// foretells it.
    QVO_INLINE void take(unsigned positions, size_t width) {
        left -= positions;
        const size_t ends = left == 0;
        value += ends * width;
        run -= ends;
        left += *run & (0U - static_cast<unsigned>(ends));
    }
    void store(Operand& operand) const {
        operand.move_to(operand.index() + static_cast<size_t>(operand.runs() - run), *run - left);
    }
};

/// At most n overlaps of the condition with the side that it chooses, none of which ends a tile; how many.
size_t tracked_choices(Choice& c, size_t n) {
    for (const Operand& operand : c.operands)
        n = operand.run_left() - 1 < max_run ? std::min(n, operand.elements_left() - 1) : 0;
    const size_t width = c.width;
    Tracked condition(c.condition, 1), sides[] = {Tracked(c.right, width), Tracked(c.left, width)};
    RunSpan span{n, 0};
    for (size_t i = 0; i < n; ++i) {
        Tracked& chosen = sides[*condition.value != 0];
        const unsigned run = std::min(condition.left, chosen.left);
        c.singles.note(i, chosen.value);
        c.out.set_run_ahead(i, run);
        condition.take(run, 1);
        chosen.take(run, width);
        span.positions += run;
    }
    condition.store(c.condition);
    sides[0].store(c.right);
    sides[1].store(c.left);
    c.singles.advance(span);
    return n;
}

/// At most n overlaps of the condition with the side that it chooses.
void single_choices(Choice& c, size_t n) {
    if (tracked_choices(c, n) != 0) return c.singles.move();
    for (; n != 0 && !any_used_up(c.operands); --n) {
        Operand& chosen = c.chosen();
        const unsigned run = std::min(c.condition.run_left(), chosen.run_left());
        c.singles.put(current_value(chosen, c.width), run);
        c.condition.take(run);
        chosen.take(run);
    }
    c.singles.move();
}

QVO_RET if_next(qvo_seq_iterator_h it, Where where) {
    Choice c(it);
    size_t single = fewest_single_steps;
    const auto go_on = [&](size_t room) -> QVO_RET {
        if (deal_stretch(c) || crossing_stretch(c) || chosen_stretch(c)) {
            single = fewest_single_steps;
        } else {
            single_choices(c, std::min(room, single));
            single = std::min(single * 2, most_single_steps);
        }
        return QVO_S_OK;
    };
    return c.out.finish(walk_while(
        c.operands, where, [&c] { return c.out.room(); }, go_on));
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

#define STAMP(type, code, width)                                                                                \
    extern "C" QVO_API QVO_RET qvo_seq_iif_##type##_next(qvo_seq_iterator_h iterator) {                         \
        return iif_next(iterator, Where::here());                                                               \
    }                                                                                                           \
    extern "C" QVO_API QVO_RET qvo_seq_if_##type##_next(qvo_seq_iterator_h iterator) {                          \
        return if_next(iterator, Where::here());                                                                \
    }                                                                                                           \
    extern "C" QVO_API QVO_RET qvo_seq_iif_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h cond,           \
                                                  qvo_seq_iterator_h then_iter, qvo_seq_iterator_h else_iter) { \
        return construct_choice(result, cond, then_iter, else_iter, {code, width}, qvo_seq_iif_##type##_next,   \
                                qvo_seq_iif_reset);                                                             \
    }                                                                                                           \
    extern "C" QVO_API QVO_RET qvo_seq_if_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h cond,            \
                                                 qvo_seq_iterator_h then_iter, qvo_seq_iterator_h else_iter) {  \
        return construct_choice(result, cond, then_iter, else_iter, {code, width}, qvo_seq_if_##type##_next,    \
                                qvo_seq_if_reset);                                                              \
    }
#define STAMP_FIXED(type) STAMP(type, elem_##type::code, elem_##type::width)
QVO_SEQ_FOR_FIXED_TYPES(STAMP_FIXED)
STAMP(char, QVO_DD_CHAR, then_iter->elem_size)
#undef STAMP_FIXED
#undef STAMP

}  // namespace qvo
