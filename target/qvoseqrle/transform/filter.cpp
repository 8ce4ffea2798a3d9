// Filters: the elements whose condition holds, and the positions at which it does.
//
// Values are moved and never looked at, so the members of one width share their code.
#include <iterator>

#include "core/construct.h"
#include "core/move.h"
#include "core/select.h"
#include "core/walk.h"

namespace qvo {
namespace {

// The functions below move values of operand 1, of any width, to the result.

void gather_values(qvo_seq_iterator_h it, size_t to, const uint16_t* indexes, size_t n) {
    uint8_t* const out = values_of<uint8_t>(it);
    const uint8_t* const in = values_of<uint8_t>(it->opd[1]);
    with_mover(
        it->elem_size, [=](auto mover) __attribute__((always_inline)) {
            for (size_t k = 0; k < n; ++k) mover.move(out, to + k, in, indexes[k]);
        });
}

void repeat_value(qvo_seq_iterator_h it, size_t to, size_t from, size_t n) {
    uint8_t* const out = values_of<uint8_t>(it);
    const uint8_t* const in = values_of<uint8_t>(it->opd[1]);
    with_mover(
        it->elem_size, [=](auto mover) __attribute__((always_inline)) { mover.fill(out, to, in, from, n); });
}

/// Sink of a walk over the condition and the input.
class FilterSink {
 public:
    struct Singles {
        uint16_t inputs[most_single_steps];
        uint8_t runs[most_single_steps];  // in the order of a tile
    };

    QVO_INLINE FilterSink(qvo_seq_iterator_h it, TileWriter& out, Singles& singles)
        : it_(it),
          out_(out),
          singles_(singles),
          conditions_(values_of<uint8_t>(it->opd[0])),
          condition_runs_(runs_of(it->opd[0])),
          input_runs_(runs_of(it->opd[1])) {}

    QVO_INLINE size_t room() const { return out_.room(); }
    QVO_INLINE size_t reach() const { return SIZE_MAX; }  // what is not kept needs no room

    /// Values are copied at the width of the result.
    QVO_INLINE QVO_RET check() const { return check_width(it_->opd[1], it_->elem_size); }

    QVO_INLINE RunSpan stretch(Moving<0b11>, At<2> at, RunSpan span) {
        const auto [condition, input] = at;
        const uint8_t* const conditions = conditions_ + condition;
        const Selection chosen = select_values(it_, out_.size(), it_->opd[1], input, conditions, span.elements, room());
        return keep(chosen, conditions, input_runs_ - input, span);
    }
    QVO_INLINE RunSpan stretch(Moving<0b01>, At<2> at, RunSpan span) {
        const auto [condition, input] = at;
        const uint8_t* const conditions = conditions_ + condition;
        const Selection chosen =
            select(conditions, span.elements, room(), [](size_t, size_t, auto) __attribute__((always_inline)){});
        repeat_value(it_, out_.size(), input, chosen.kept);
        return keep(chosen, conditions, condition_runs_ - condition, span);
    }
    QVO_INLINE RunSpan stretch(Moving<0b10>, At<2> at, RunSpan span) {
        const auto [condition, input] = at;
        if (conditions_[condition] == 0) return span;
        const uint8_t* const runs = input_runs_ - input;
        if (span.elements > room()) span = {room(), sum_runs(runs, room())};
        copy_values(it_, out_.size(), it_->opd[1], input, span.elements);
        out_.put_runs(runs, span);
        return span;
    }
    QVO_INLINE void one(size_t, At<2> at, unsigned run) {
        singles_.inputs[kept_] = static_cast<uint16_t>(at[1]);
        singles_.runs[most_single_steps - 1 - kept_] = static_cast<uint8_t>(run);
        kept_ += conditions_[at[0]] != 0;
    }
    QVO_INLINE void end_singles(RunSpan) {
        gather_values(it_, out_.size(), singles_.inputs, kept_);
        out_.put_runs(singles_.runs + most_single_steps - 1, kept_);
        kept_ = 0;
    }

 private:
    /// Accounts for the chosen elements of the span; returns the part of it that was seen.
    QVO_INLINE RunSpan keep(Selection chosen, const uint8_t* conditions, const uint8_t* runs, RunSpan span) {
        if (chosen.kept == 0) return span;
        if (span.positions == span.elements && leading_single_runs(runs, span.elements) == span.elements) {
            out_.put_equal_runs(chosen.kept, 1);
            return {chosen.seen, static_cast<unsigned>(chosen.seen)};
        }
        uint8_t* const out_runs = runs_of(it_) - out_.size();
        select_runs(out_runs, runs, conditions, chosen.seen);
        out_.advance({chosen.kept, sum_runs(out_runs, chosen.kept)});
        return {chosen.seen, chosen.seen == span.elements ? span.positions : sum_runs(runs, chosen.seen)};
    }

    qvo_seq_iterator_h it_;
    TileWriter& out_;
    Singles& singles_;
    size_t kept_ = 0;
    const uint8_t* conditions_;
    const uint8_t* condition_runs_;
    const uint8_t* input_runs_;
};

QVO_INLINE QVO_RET filter_next(qvo_seq_iterator_h it, Where where) {
    Operand operands[] = {Operand(it->opd[0]), Operand(it->opd[1])};
    TileWriter out(it);
    FilterSink::Singles singles;
    FilterSink sink(it, out, singles);
    return out.finish(walk(operands, sink, where));
}

QVO_RET construct_filter(qvo_seq_iterator_h result, qvo_seq_iterator_h condition, qvo_seq_iterator_h input,
                         ElementLayout layout, qvo_seq_iterator_next_t next) {
    if (!has_type(condition, elem_bool::code) || !has_type(input, layout.type)) return QVO_E_ILLEGAL_TYPE;
    if (const QVO_RET rc = bind({condition, input}); rc != QVO_S_OK) return rc;
    fill_result(result, layout, {condition, input}, next, qvo_seq_reset_binary_iterator);
    return QVO_S_OK;
}

/// Writes the positions of leading conditions of run 1; returns the conditions seen and the positions written.
Selection select_positions(uint64_t* to, const uint8_t* conditions, size_t n, size_t room, uint64_t first) {
    return select(
        conditions, n, room, [=](size_t k, size_t i, auto count) __attribute__((always_inline)) {
            for (size_t j = 0; j < count; ++j) to[k + j] = first + i + j;
        });
}

/// Writes `count` positions from `first` on.
QVO_INLINE void write_positions(uint64_t* __restrict to, size_t count, uint64_t first) {
    for (size_t k = 0; k < count; ++k) to[k] = first + k;
}

// Conditions are not split into overlaps of two operands here, and false ones are deliberately passed over with their
// whole run byte, rle_offs staying as it is; so this walks one operand on its own.
QVO_RET filter_pos_next(qvo_seq_iterator_h it, Where where) {
    Operand condition(it->opd[0]);
    qvo_seq_filter_pos_context_t& pos = state<qvo_seq_filter_pos_context_t>(it);
    const uint8_t* const conditions = values_of<uint8_t>(it->opd[0]);
    uint64_t* const positions = values_of<uint64_t>(it);
    TileWriter out(it, elem_uint8::capacity);
    uint64_t at = pos.curr_pos;
    QVO_RET rc = QVO_S_OK;
    while (out.room() != 0) {
        if (rc = condition.refill(where); rc != QVO_S_OK) break;
        const size_t index = condition.index();
        if (condition.taken() == 0 && condition.run() == 1) {
            const size_t n = leading_single_runs(condition.runs(), condition.elements_left());
            const Selection chosen = select_positions(positions + out.size(), conditions + index, n, out.room(), at);
            out.put_equal_runs(chosen.kept, 1);
            condition.skip(chosen.seen);
            at += chosen.seen;
        } else if (conditions[index] == 0) {
            at += condition.run();
            condition.skip(1);
        } else {
            // Counted in a byte, like the read position: a false element that was passed over may have left that
            // after the end of this run, which then lasts until the byte has come round.
            const unsigned left = static_cast<uint8_t>(condition.run_left() - 1) + 1U;
            const unsigned n = static_cast<unsigned>(std::min<size_t>(left, out.room()));
            for_cpu<write_positions>(positions + out.size(), n, at);
            out.put_equal_runs(n, 1);
            condition.take(n);
            at += n;
        }
    }
    condition.store();
    pos.curr_pos = at;
    return out.finish(rc, Counted::delivered);
}

QVO_RET filter_first_pos_next(qvo_seq_iterator_h it, Where where) {
    if (const std::optional<QVO_RET> answer = answer_of(it)) return *answer;
    const size_t n = it->last_seq_no;
    if (n != 0) {
        const qvo_seq_no_t first = qvo_seq_get_first_pos(it);
        Operand condition(it->opd[0]);
        if (const QVO_RET rc = condition.refill(where); rc != QVO_S_OK) return rc;
        // Deliberate: the scan tests the element at the operand's read position again and again, while the position
        // counts on. It ends at once or, with a false element, not at all.
        const volatile qvo_seq_bool& tested = values_of<qvo_seq_bool>(it->opd[0])[condition.index()];
        while (tested == 0) continue;
        for_cpu<write_positions>(values_of<uint64_t>(it), n, first);
    }
    TileWriter out(it);
    out.put_equal_runs(n, 1);
    out.finish_at(n);
    return n != 0 ? QVO_S_OK : QVO_S_CURSOR_END;
}

/// Puts the positions of `src`, one block that does not interleave with those of `dst`, among them.
QVO_RET filter_first_pos_merge(qvo_seq_iterator_h dst, qvo_seq_iterator_h src) {
    const size_t most = dst->last_seq_no, size = dst->tile_size;
    uint64_t* const positions = values_of<uint64_t>(dst);
    const uint64_t* const added = values_of<uint64_t>(src);
    const size_t at = static_cast<size_t>(std::lower_bound(positions, positions + size, added[0]) - positions);
    const size_t n_added = std::min<size_t>(src->tile_size, most - at);
    if (n_added == 0) return QVO_S_OK;
    const size_t n_moved = std::min(size - at, most - at - n_added);
    qvo_memmove(positions + at + n_added, positions + at, n_moved * sizeof *positions);
    std::memcpy(positions + at, added, n_added * sizeof *positions);
    TileWriter out(dst);
    out.put_equal_runs(at + n_added + n_moved, 1);
    return out.finish_at(out.size());
}

QVO_RET construct_filter_pos(qvo_seq_iterator_h result, qvo_seq_iterator_h condition, qvo_seq_no_t first) {
    if (const QVO_RET rc = construct_typed(result, condition, elem_bool::code, layout_of<elem_uint8>,
                                           qvo_seq_filter_pos_next, qvo_seq_filter_pos_reset);
        rc != QVO_S_OK)
        return rc;
    state<qvo_seq_filter_pos_context_t>(result) = {first, first};
    return QVO_S_OK;
}

}  // namespace

#define STAMP(type, code, width)                                                                         \
    extern "C" QVO_API QVO_RET qvo_seq_filter_##type##_next(qvo_seq_iterator_h iterator) {               \
        return for_cpu<filter_next>(iterator, Where::here());                                            \
    }                                                                                                    \
    extern "C" QVO_API QVO_RET qvo_seq_filter_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h cond, \
                                                     qvo_seq_iterator_h input) {                         \
        return construct_filter(result, cond, input, {code, width}, qvo_seq_filter_##type##_next);       \
    }
#define STAMP_FIXED(type) STAMP(type, elem_##type::code, elem_##type::width)
QVO_SEQ_FOR_FIXED_TYPES(STAMP_FIXED)
STAMP(char, QVO_DD_CHAR, input->elem_size)
#undef STAMP_FIXED
#undef STAMP

}  // namespace qvo

extern "C" {

QVO_API QVO_RET qvo_seq_filter_pos_next(qvo_seq_iterator_h iterator) {
    return qvo::filter_pos_next(iterator, qvo::Where::here());
}

QVO_API QVO_RET qvo_seq_filter_pos_reset(qvo_seq_iterator_h iterator) {
    qvo_seq_filter_pos_context_t& pos = qvo::state<qvo_seq_filter_pos_context_t>(iterator);
    pos.curr_pos = pos.first_pos;
    return qvo_seq_reset_unary_iterator(iterator);
}

QVO_API QVO_RET qvo_seq_filter_pos(qvo_seq_iterator_h result, qvo_seq_iterator_h cond) {
    return qvo::construct_filter_pos(result, cond, 0);
}

QVO_API QVO_RET qvo_seq_filter_search(qvo_seq_iterator_h result, qvo_seq_iterator_h cond,
                                      qvo_seq_iterator_h search_result) {
    return qvo::construct_filter_pos(result, cond, search_result->first_seq_no);
}

QVO_API qvo_seq_no_t qvo_seq_get_first_pos(qvo_seq_iterator_h iterator) {
    qvo_seq_no_t first = iterator->first_seq_no;
    // The second slot of one of two readers of a source holds the other one, whose second slot holds this one.
    const bool is_twin = iterator->next == qvo_seq_tee_next;
    for (size_t i = 0; i < (is_twin ? 1 : std::size(iterator->opd)); ++i)
        if (const qvo_seq_iterator_h operand = iterator->opd[i]; operand != nullptr)
            first = std::max(first, qvo_seq_get_first_pos(operand));
    return first;
}

QVO_API QVO_RET qvo_seq_filter_first_pos_next(qvo_seq_iterator_h iterator) {
    return qvo::filter_first_pos_next(iterator, qvo::Where::here());
}

QVO_API QVO_RET qvo_seq_filter_first_pos_merge(qvo_seq_iterator_h dst, qvo_seq_iterator_h src) {
    return qvo::filter_first_pos_merge(dst, src);
}

// Deliberately unlike every other constructor: the condition is not marked bound, and reset stays as the caller set it.
QVO_API QVO_RET qvo_seq_filter_first_pos(qvo_seq_iterator_h result, qvo_seq_iterator_h cond, qvo_uint8 n) {
    if (!qvo::has_type(cond, qvo::elem_bool::code)) return QVO_E_ILLEGAL_TYPE;
    if (qvo::is_bound(cond)) return QVO_E_SEQ_BOUNDED;
    if (n > qvo::elem_uint8::capacity) return QVO_E_ILLEGAL_PARAM;
    qvo::fill_result(result, qvo::layout_of<qvo::elem_uint8>, {cond}, qvo_seq_filter_first_pos_next, result->reset);
    qvo::fill_aggregate(result, qvo_seq_filter_first_pos_merge);
    result->last_seq_no = n;
    return QVO_S_OK;
}

}  // extern "C"
