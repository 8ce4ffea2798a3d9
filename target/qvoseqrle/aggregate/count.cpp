// Counting positions, or elements that are not null.
//
// Unlike other aggregates, and deliberately: operands are neither checked nor marked as bound, an empty operand counts
// 0, and an operand's error ends the counting without being reported.
#include "aggregate/hash_count.h"
#include "core/construct.h"
#include "core/protocol.h"

namespace qvo {
namespace {

// An array source knows its length.
bool is_array(qvo_seq_iterator_h operand) { return operand->reset == qvo_seq_unget_reset; }

QVO_RET construct_count(qvo_seq_iterator_h result, qvo_seq_iterator_h operand, qvo_seq_iterator_next_t next) {
    fill_result(result, layout_of<elem_uint8>, {operand}, next, qvo_seq_reset_unary_iterator);
    fill_aggregate(result, qvo_seq_count_merge);
    if (is_array(operand) || is_hash_aggregate(operand)) {
        result->prepare = nullptr;
        result->merge = nullptr;
    }
    return QVO_S_OK;
}

struct Positions {
    static qvo_seq_count_t of_tile(qvo_seq_iterator_h operand) {
        return sum_runs(runs_of(operand), operand->tile_size);
    }
    static void finish(qvo_seq_iterator_h it) { set_run(runs_of(it), 0, 1); }
};

/// The number of set bits. By hand: where there is no instruction for it, compilers make a population count a call of
/// their own runtime library, which nothing else here needs.
unsigned set_bits(uint64_t word) {
    constexpr uint64_t pairs = 0x5555555555555555U, fours = 0x3333333333333333U, eights = 0x0f0f0f0f0f0f0f0fU;
    word -= word >> 1 & pairs;
    word = (word & fours) + (word >> 2 & fours);
    word = (word + (word >> 4)) & eights;
    return static_cast<unsigned>(word * ones_word >> 56);
}

// Elements and not positions, deliberately, and the result gets no run byte. Elements after the bitmap are not null.
struct NotNullElements {
    static qvo_seq_count_t of_tile(qvo_seq_iterator_h operand) {
        constexpr size_t word_bits = 8 * sizeof(qvo_bitmap_word_t);
        const size_t n = operand->tile_size;
        size_t nulls = 0, begin = 0;
        for (const qvo_bitmap_word_t word : operand->tile.null_bitmap) {
            if (n <= begin) break;
            const size_t bits = std::min(n - begin, word_bits);
            nulls += set_bits(word << (word_bits - bits));
            begin += word_bits;
        }
        return n - nulls;
    }
    static void finish(qvo_seq_iterator_h it) { qvo_seq_reset_null_bitmap(it); }
};

template <class Counting> qvo_seq_count_t count_tiles(qvo_seq_iterator_h operand, Where where) {
    qvo_seq_count_t total = 0;
    while (pull_tile(operand, where) == QVO_S_OK) total += Counting::of_tile(operand);
    return total;
}

template <class Counting> qvo_seq_count_t count_of(qvo_seq_iterator_h operand, Where where) {
    if (is_array(operand)) return operand->last_seq_no + 1;
    // The first tile builds the table of groups.
    if (is_hash_aggregate(operand)) return pull_any_tile(operand, where) == QVO_S_OK ? hash_entries(operand) : 0;
    return count_tiles<Counting>(operand, where);
}

template <class Counting> QVO_RET count_next(qvo_seq_iterator_h it, Where where = Where::here()) {
    if (const std::optional<QVO_RET> answer = answer_of(it)) return *answer;
    *values_of<qvo_uint8>(it) = count_of<Counting>(it->opd[0], where);
    Counting::finish(it);
    TileWriter out(it);
    out.advance({1, 1});
    return out.finish_at(1);
}

}  // namespace

extern "C" {

QVO_API QVO_RET qvo_seq_count_next(qvo_seq_iterator_h iterator) { return count_next<Positions>(iterator); }

QVO_API QVO_RET qvo_seq_count_not_null_next(qvo_seq_iterator_h iterator) {
    return count_next<NotNullElements>(iterator);
}

QVO_API QVO_RET qvo_seq_count_merge(qvo_seq_iterator_h iterator, qvo_seq_iterator_h other) {
    *values_of<qvo_uint8>(iterator) += *values_of<qvo_uint8>(other);
    return QVO_S_OK;
}

QVO_API QVO_RET qvo_seq_agg_count(qvo_seq_iterator_h result, qvo_seq_iterator_h operand) {
    return construct_count(result, operand, qvo_seq_count_next);
}

QVO_API QVO_RET qvo_seq_agg_count_not_null(qvo_seq_iterator_h result, qvo_seq_iterator_h operand) {
    return construct_count(result, operand, qvo_seq_count_not_null_next);
}

}  // extern "C"

}  // namespace qvo
