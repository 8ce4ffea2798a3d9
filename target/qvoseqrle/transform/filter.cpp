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

// The functions below move values of any width to the result; they lie at `in`.

void gather_values(qvo_seq_iterator_h it, size_t to, const uint8_t* in, const uint16_t* indexes, size_t n) {
    uint8_t* const out = values_of<uint8_t>(it);
    with_mover(
        it->elem_size, [=](auto mover) __attribute__((always_inline)) {
            for (size_t k = 0; k < n; ++k) mover.move(out, to + k, in, indexes[k]);
        });
}

void repeat_value(qvo_seq_iterator_h it, size_t to, const uint8_t* in, size_t n) {
    uint8_t* const out = values_of<uint8_t>(it);
    with_mover(
        it->elem_size, [=](auto mover) __attribute__((always_inline)) { mover.fill(out, to, in, 0, n); });
}

/// Sink of a walk over the condition and the input.
class FilterSink {
 public:
    struct Singles {
        uint16_t inputs[most_single_steps];
        uint8_t runs[most_single_steps];  // in the order of a tile
    };
    /// A row of overlaps that cross, which are then picked from.
    struct Row {
        static constexpr size_t most = 256;
        uint16_t condition[most + CrossingRow<2>::slack], input[most + CrossingRow<2>::slack];
        uint8_t run[most + CrossingRow<2>::slack];
    };

    QVO_INLINE FilterSink(qvo_seq_iterator_h it, TileWriter& out, Singles& singles, Row& row)
        : it_(it), out_(out), singles_(singles), row_(row) {}

    QVO_INLINE size_t room() const { return out_.room(); }
    QVO_INLINE size_t reach() const { return SIZE_MAX; }  // what is not kept needs no room

    /// Values are copied at the width of the result.
    QVO_INLINE QVO_RET look(const Operand (&operands)[2]) {
        conditions_ = operands[0].values();
        inputs_ = operands[1].values();
        condition_runs_ = operands[0].first_run();
        input_runs_ = operands[1].first_run();
        return check_width(it_->opd[1], it_->elem_size);
    }

    QVO_INLINE RunSpan stretch(Moving<0b11>, At<2> at, RunSpan span) {
        const auto [condition, input] = at;
        const uint8_t* const conditions = conditions_ + condition;
        const Selection chosen = select_values(it_, out_.size(), value(input), conditions, span.elements, room());
        return keep(chosen, conditions, input_runs_ - input, span);
    }
    QVO_INLINE RunSpan stretch(Moving<0b01>, At<2> at, RunSpan span) {
        const auto [condition, input] = at;
        const uint8_t* const conditions = conditions_ + condition;
        const Selection chosen =
            select(conditions, span.elements, room(), [](size_t, size_t, auto) __attribute__((always_inline)){});
        repeat_value(it_, out_.size(), value(input), chosen.kept);
        return keep(chosen, conditions, condition_runs_ - condition, span);
    }
    QVO_INLINE RunSpan stretch(Moving<0b10>, At<2> at, RunSpan span) {
        const auto [condition, input] = at;
        if (conditions_[condition] == 0) return span;
        const uint8_t* const runs = input_runs_ - input;
        if (span.elements > room()) span = {room(), sum_runs(runs, room())};
        const size_t width = it_->elem_size;
        std::memcpy(values_of<uint8_t>(it_) + out_.size() * width, value(input), span.elements * width);
        out_.put_runs(runs, span);
        return span;
    }
    QVO_INLINE void one(size_t, At<2> at, unsigned run) {
        singles_.inputs[kept_] = static_cast<uint16_t>(at[1]);
        singles_.runs[most_single_steps - 1 - kept_] = static_cast<uint8_t>(run);
        kept_ += conditions_[at[0]] != 0;
    }
    QVO_INLINE void end_singles(RunSpan) {
        gather_values(it_, out_.size(), inputs_, singles_.inputs, kept_);
        out_.put_runs(singles_.runs + most_single_steps - 1, kept_);
        kept_ = 0;
    }
    QVO_INLINE CrossingRow<2> crossing_row() { return {{row_.condition, row_.input}, row_.run, Row::most}; }
    QVO_INLINE void end_crossings(RunSpan span) {
        const RunSpan kept = keep_true(crossing_row(), conditions_, span.elements);
        gather_values(it_, out_.size(), inputs_, row_.input, kept.elements);
        put_in_tile(runs_of(it_) - out_.size(), row_.run, kept.elements);
        out_.advance(kept);
    }

 private:
    QVO_INLINE const uint8_t* value(size_t input) const { return inputs_ + input * it_->elem_size; }

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
    Row& row_;
    size_t kept_ = 0;
    const uint8_t *conditions_, *inputs_;
    const uint8_t* condition_runs_;
    const uint8_t* input_runs_;
};

QVO_INLINE QVO_RET filter_next(qvo_seq_iterator_h it, Where where) {
    const auto from = values_from(Operand::Values::anywhere, it->opd[0], it->opd[1]);
    Operand operands[] = {Operand(it->opd[0], from), Operand(it->opd[1], from)};
    TileWriter out(it);
    FilterSink::Singles singles;
    FilterSink::Row row;
    FilterSink sink(it, out, singles, row);
    return out.finish(walk(operands, sink, where));
}

QVO_RET construct_filter(qvo_seq_iterator_h result, qvo_seq_iterator_h condition, qvo_seq_iterator_h input,
                         ElementLayout layout, qvo_seq_iterator_next_t next) {
    if (!has_type(condition, elem_bool::code) || !has_type(input, layout.type)) return QVO_E_ILLEGAL_TYPE;
    if (const QVO_RET rc = bind({condition, input}); rc != QVO_S_OK) return rc;
    fill_result(result, layout, {condition, input}, next, qvo_seq_reset_binary_iterator);
    return QVO_S_OK;
}

/// Writes `count` positions from `first` on; vectors of them to where they do not lie across two lines of the cache.
QVO_INLINE void write_positions(uint64_t* __restrict to, size_t count, uint64_t first) {
    size_t k = 0;
    for (; k < count && reinterpret_cast<uintptr_t>(to + k) % 32 != 0; ++k) to[k] = first + k;
    for (; k < count; ++k) to[k] = first + k;
}

/// What has been seen of conditions with short runs: elements, their positions, and those of the true ones.
struct ShortRuns {
    size_t elements = 0, positions = 0, kept = 0;
};

// Positions that are written at once, whether or not there are as many.
constexpr size_t at_once = 16;

/// Writes the positions of conditions with short runs, up to a row of runs of 1, a run of 0 or one that there is no room
/// for. What is written beyond the room is of no account.
QVO_INLINE ShortRuns expand_short(uint64_t* to, const uint8_t* conditions, const uint8_t* runs, size_t n, size_t room,
                                  uint64_t first) {
    typedef uint64_t Positions __attribute__((vector_size(64)));
    ShortRuns seen;
    for (; seen.elements + run_word <= n; seen.elements += run_word) {
        if (load_runs(runs - seen.elements) == ones_word) break;
        for (size_t i = seen.elements; i != seen.elements + run_word; ++i) {
            const size_t run = get_run(runs, i);
            if (run == 0 || run > room - seen.kept) return {i, seen.positions, seen.kept};
            const Positions some = Positions{0, 1, 2, 3, 4, 5, 6, 7} + (first + seen.positions),
                            more = some + at_once / 2;
            std::memcpy(to + seen.kept, &some, sizeof some);
            std::memcpy(to + seen.kept + at_once / 2, &more, sizeof more);
            if (run > at_once)
                for (size_t k = at_once; k < run; ++k) to[seen.kept + k] = first + seen.positions + k;
            seen.kept += run & (size_t{0} - (conditions[i] != 0));  // without a branch, as nothing foretells it
            seen.positions += run;
        }
    }
    return seen;
}

/// The same, with nothing written beyond the positions that are kept.
[[gnu::noinline]] ShortRuns put_short(uint64_t* to, const uint8_t* conditions, const uint8_t* runs, size_t n,
                                      size_t room, uint64_t first) {
    uint64_t expanded[elem_uint8::capacity + at_once];
    const ShortRuns seen = for_cpu<expand_short, CpuLevel::avx512>(expanded, conditions, runs, n, room, first);
    std::memcpy(to, expanded, seen.kept * sizeof *to);
    return seen;
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
        const size_t index = condition.index(), n_left = condition.elements_left();
        if (condition.taken() == 0 && condition.run() <= 4 * at_once &&
            runs_are_short(condition.runs(), n_left, condition.run())) {
            const ShortRuns seen =
                put_short(positions + out.size(), conditions + index, condition.runs(), n_left, out.room(), at);
            if (seen.elements != 0) {
                out.put_equal_runs(seen.kept, 1);
                condition.skip(seen.elements);
                at += seen.positions;
                continue;
            }
        }
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
