// Estimates of distinct counts: the sketch, and the operators over whole sequences and groups.
#include <cmath>

#include "aggregate/group_walk.h"
#include "aggregate/murmur3.h"
#include "aggregate/sketch.h"
#include "core/construct.h"
#include "core/number.h"
#include "core/overlap_list.h"

namespace qvo {
namespace {

using Sketch = qvo_seq_agg_approxdc_context_t;

/// 2^-rank, by its bits.
double inverse_power(uint8_t rank) { return std::bit_cast<double>((uint64_t{1023} - rank) << 52); }

/// Pulls the input to its end and hands each tile to add(tile, n); delivers the estimate of the sketch.
template <class Add>
QVO_RET deliver_estimate(qvo_seq_iterator_h it, uint8_t* registers, Add add, Where where = Where::here()) {
    const qvo_seq_iterator_h input = it->opd[0];
    QVO_RET rc;
    while ((rc = pull_any_tile(input, where)) == QVO_S_OK) add(input, input->tile_size);
    if (rc != QVO_S_CURSOR_END) return rc;
    *values_of<qvo_uint4>(it) = estimate(registers);
    TileWriter out(it);
    out.put_run(1);
    return out.finish_at(1);
}

void add_tile(qvo_seq_iterator_h input, size_t n, uint8_t* registers) {
    add_values(values_of<uint8_t>(input), input->elem_size, n, registers);
}

using Context = qvo_seq_agg_context_t;
static_assert(sizeof(Context::history) >= sketch_registers);

/// The sketch of the open group lies in the history; the key therefore lies before it.
uint8_t* registers_of(qvo_seq_iterator_h it) { return key_in_history(it).bytes; }

/// Folds the hashes of the steps; hashes[i - first] is that of the value with index i.
void fold_hashes(qvo_seq_iterator_h it, const GroupSteps& steps, size_t to, const uint32_t* hashes, size_t first) {
    uint8_t* registers = registers_of(it);
    qvo_uint4* out = values_of<qvo_uint4>(it) + to;
    const auto add = [&](size_t i) { add_hash(hashes[steps.value.index[i] - first], registers); };
    walk_groups(
        steps, state<Context>(it).count,
        [&](size_t i) {
            qvo_memnull(registers, sketch_registers);
            add(i);
        },
        add, [&](uint64_t) { *out++ = estimate(registers); });
}

void fold_values(qvo_seq_iterator_h it, const GroupSteps& steps, size_t to) {
    uint32_t hashes[OverlapList<2>::most];
    const qvo_seq_iterator_h input = it->opd[0];
    const size_t width = input->elem_size, first = steps.value.index[0];
    // A group that ends with the very first step leaves none to fold.
    const size_t n = steps.n == 0 ? 0 : steps.value.index[steps.n - 1] - first + 1;
    hash_values(steps.value.values + first * width, width, n, hash_seed, hashes);
    fold_hashes(it, steps, to, hashes, first);
}

void fold_given_hashes(qvo_seq_iterator_h it, const GroupSteps& steps, size_t to) {
    fold_hashes(it, steps, to, steps.value.as<qvo_uint4>(), 0);
}

void close_group(qvo_seq_iterator_h it, size_t to) { values_of<qvo_uint4>(it)[to] = estimate(registers_of(it)); }

QVO_RET construct_group(qvo_seq_iterator_h result, qvo_seq_iterator_h input, qvo_seq_iterator_h group_by,
                        qvo_seq_iterator_next_t next) {
    // Deliberately, group_by is neither checked nor marked.
    if (const QVO_RET rc = bind({input}); rc != QVO_S_OK) return rc;
    if (group_by->elem_size > key_in_accumulator(result).widest) return QVO_E_ILLEGAL_PARAM;
    fill_result(result, layout_of<elem_uint4>, {input, group_by}, next, qvo_seq_reset_binary_agg_iterator);
    start_groups(result);
    return QVO_S_OK;
}

}  // namespace

void add_hashes(const uint32_t* hashes, size_t n, uint8_t* registers) {
    for (size_t i = 0; i < n; ++i) add_hash(hashes[i], registers);
}

void add_values(const uint8_t* values, size_t width, size_t n, uint8_t* registers) {
    constexpr size_t most = 256;
    uint32_t hashes[most];
    for (size_t at = 0; at < n; at += most) {
        const size_t some = std::min(most, n - at);
        hash_values(values + at * width, width, some, hash_seed, hashes);
        add_hashes(hashes, some, registers);
    }
}

void merge_registers(uint8_t* registers, const uint8_t* others) {
    for (size_t j = 0; j < sketch_registers; ++j)
        if (others[j] > registers[j]) registers[j] = others[j];
}

uint32_t estimate(const uint8_t* registers) {
    constexpr double m = sketch_registers, largest = 4294967295.0;
    constexpr double alpha = 0.7213 / (1 + 1.079 / m);  // the constant is used as it stands, not in full length
    double sum = 0;
    unsigned unseen = 0;
    for (size_t j = 0; j < sketch_registers; ++j) {
        sum += inverse_power(registers[j]);
        unseen += registers[j] == 0;
    }
    double estimate = m * (m * alpha) / sum;
    if (estimate <= 2.5 * m) {
        if (unseen > 0) estimate = m * std::log(m / unseen);
    } else if (estimate > largest * 0.03333333333333333) {
        estimate = -largest * std::log(1 - estimate / largest);
    }
    // A logarithm of 0 or less has no number for the estimate: its low 32 bits are 0.
    return static_cast<uint32_t>(truncate<int64_t>(estimate));
}

}  // namespace qvo

extern "C" {

QVO_PLAIN_NAME void calculate_zero_bits(qvo_uint4 h, qvo_uint1* max_zero_bits) { qvo::add_hash(h, max_zero_bits); }

QVO_PLAIN_NAME void calculate_hash_functions(const void* val, qvo_size_t size, qvo_uint1* max_zero_bits) {
    qvo::add_hash(qvo::hash_bytes(static_cast<const uint8_t*>(val), size, qvo::hash_seed), max_zero_bits);
}

QVO_PLAIN_NAME void merge_zero_bits(qvo_uint1* dst_max_zero_bits, const qvo_uint1* src_max_zero_bits) {
    qvo::merge_registers(dst_max_zero_bits, src_max_zero_bits);
}

QVO_PLAIN_NAME qvo_uint4 approximate_distinct_count(const qvo_uint1* max_zero_bits) {
    return qvo::estimate(max_zero_bits);
}

// Unlike most aggregates this one delivers an element for an empty input too: 0.
QVO_API QVO_RET qvo_seq_agg_approxdc_next(qvo_seq_iterator_h iterator) {
    if (const std::optional<QVO_RET> answer = qvo::answer_of(iterator)) return *answer;
    qvo::Sketch sketch{};
    const QVO_RET rc = qvo::deliver_estimate(
        iterator, sketch.max_zero_bits,
        [&sketch](qvo_seq_iterator_h input, size_t n) { qvo::add_tile(input, n, sketch.max_zero_bits); });
    if (rc == QVO_S_OK) qvo::state<qvo::Sketch>(iterator) = sketch;
    return rc;
}

QVO_API QVO_RET qvo_seq_agg_approxdc_merge(qvo_seq_iterator_h dst, qvo_seq_iterator_h src) {
    uint8_t* registers = qvo::state<qvo::Sketch>(dst).max_zero_bits;
    qvo::merge_registers(registers, qvo::state<qvo::Sketch>(src).max_zero_bits);
    *qvo::values_of<qvo_uint4>(dst) = qvo::estimate(registers);
    return QVO_S_OK;
}

QVO_API QVO_RET qvo_seq_agg_approxdc_hash_next(qvo_seq_iterator_h iterator) {
    if (iterator->next_seq_no != 0) return QVO_S_CURSOR_END;
    qvo::Sketch sketch{};
    return qvo::deliver_estimate(iterator, sketch.max_zero_bits, [&sketch](qvo_seq_iterator_h input, size_t n) {
        qvo::add_hashes(qvo::values_of<qvo_uint4>(input), n, sketch.max_zero_bits);
    });
}

QVO_API QVO_RET qvo_seq_agg_approxdc(qvo_seq_iterator_h result, qvo_seq_iterator_h input) {
    if (const QVO_RET rc = qvo::bind({input}); rc != QVO_S_OK) return rc;
    qvo::fill_result(result, qvo::layout_of<qvo::elem_uint4>, {input}, qvo_seq_agg_approxdc_next,
                     qvo_seq_reset_unary_iterator);
    qvo::fill_aggregate(result, qvo_seq_agg_approxdc_merge);
    qvo::state<qvo::Sketch>(result) = {};  // of no values: what merging a part that was never computed adds
    return QVO_S_OK;
}

QVO_API QVO_RET qvo_seq_agg_approxdc_hash(qvo_seq_iterator_h result, qvo_seq_iterator_h input) {
    return qvo::construct_unary<qvo::elem_uint4, qvo::elem_uint4>(result, input, qvo_seq_agg_approxdc_hash_next);
}

QVO_API QVO_RET qvo_seq_group_agg_approxdc_next(qvo_seq_iterator_h iterator) {
    return qvo::group_next(iterator, {qvo::fold_values, qvo::close_group}, qvo::key_in_accumulator(iterator),
                           qvo::Where::here());
}

QVO_API QVO_RET qvo_seq_group_agg_approxdc_hash_next(qvo_seq_iterator_h iterator) {
    return qvo::group_next(iterator, {qvo::fold_given_hashes, qvo::close_group}, qvo::key_in_accumulator(iterator),
                           qvo::Where::here());
}

QVO_API QVO_RET qvo_seq_group_agg_approxdc(qvo_seq_iterator_h result, qvo_seq_iterator_h input,
                                           qvo_seq_iterator_h group_by) {
    return qvo::construct_group(result, input, group_by, qvo_seq_group_agg_approxdc_next);
}

QVO_API QVO_RET qvo_seq_group_agg_approxdc_hash(qvo_seq_iterator_h result, qvo_seq_iterator_h input,
                                                qvo_seq_iterator_h group_by) {
    if (!qvo::has_type(input, QVO_DD_UINT4)) return QVO_E_ILLEGAL_TYPE;
    return qvo::construct_group(result, input, group_by, qvo_seq_group_agg_approxdc_hash_next);
}

}  // extern "C"
