// Distinct values per key, and those that occur often: a table of groups, and a table of pairs of group and value.
#include <optional>
#include <utility>

#include "aggregate/hash_result.h"
#include "aggregate/murmur3.h"

namespace qvo {
namespace {

using Context = qvo_seq_dup_hash_iterator_context_t;

HashLayout pair_layout(size_t key_width, qvo_seq_iterator_h input) {
    return {.key_width = key_width, .pairs = true, .value_width = input->elem_size};
}

/// True if a value that had occurred at `before` positions crosses the threshold at `after`.
bool crosses(const Context& context, uint64_t before, uint64_t after) {
    return before < context.min_occurrences && after >= context.min_occurrences;
}

/// Finds or creates the pairs of `n` steps, whose groups have been found. Returns the steps done.
size_t locate_pairs(const HashSteps& steps, qvo_seq_iterator_h input, HashFiller& filler, HashFiller::Probes& probes,
                    HashElem* const* groups, size_t n, HashElem** pairs) {
    // The hash of the key seeds that of the value. The group keeps its key where a longer one is given by address.
    hash_values_at(values_of<uint8_t>(input), input->elem_size, steps.values(), n, probes.key_hash, probes.pair_hash);
    read_keys(input, steps.values(), n, probes.value);
    for (size_t i = 0; i < n; ++i) probes.key[i] = groups[i]->grp;
    return filler.locate(probes, n, pairs);
}

QVO_RET fill_tables(qvo_seq_iterator_h it, qvo_seq_hash_t* group_table, qvo_seq_hash_t* pair_table, Where where) {
    const Context& context = state<Context>(it);
    const qvo_seq_iterator_h input = it->opd[0], group_by = it->opd[1];
    std::optional<HashFiller> group_filler, pair_filler;  // as soon as there are keys and values, and so widths
    size_t value_width = any_width;
    HashFiller::Probes probes;
    HashElem *groups[HashFiller::most], *pairs[HashFiller::most];
    HashSteps steps(group_by, input);
    QVO_RET rc;
    while ((rc = steps.collect(where)) == QVO_S_OK) {
        if (rc = check_width(input, value_width); rc != QVO_S_OK) return rc;
        value_width = input->elem_size;
        if (!group_filler) {
            group_filler.emplace(it, group_table, HashLayout{.key_width = steps.key_width()});
            pair_filler.emplace(it, pair_table, pair_layout(steps.key_width(), input));
        }
        steps.probe_keys(probes);
        size_t done = group_filler->locate(probes, steps.size(), groups);
        done = locate_pairs(steps, input, *pair_filler, probes, groups, done, pairs);
        for (size_t i = 0; i < done; ++i) {
            const uint64_t before = pairs[i]->count;
            pairs[i]->count += steps.runs()[i];
            groups[i]->count += crosses(context, before, pairs[i]->count);
        }
        if (done == steps.size()) continue;
        steps.stop_at(done);
        return QVO_E_NOMEM;
    }
    if (rc != QVO_S_CURSOR_END) return rc;
    if (!group_filler) return QVO_S_OK;
    group_filler->finish();
    pair_filler->finish();
    key_width_of(*context.groups.shared) = static_cast<uint16_t>(steps.key_width());
    return QVO_S_OK;
}

void free_pairs(qvo_seq_iterator_h it) { free_hash_table(it, std::exchange(state<Context>(it).agg_hash, nullptr)); }

/// Builds both tables. The pairs of a build that failed go at once, the groups with the next build or the release.
QVO_RET build_both(qvo_seq_iterator_h it, Where where) {
    Context& context = state<Context>(it);
    if (is_built(it)) return QVO_S_OK;
    drop_failed_build(it, *context.groups.shared);
    free_pairs(it);
    context.groups.private_hash = new_hash_table(it, context.groups.n_groups);
    if (context.groups.private_hash == nullptr) return QVO_E_NOMEM;
    // Where the release finds them, should a stop be caught while the tables are filled.
    context.agg_hash = new_hash_table(it, context.n_pairs);
    if (context.agg_hash == nullptr) return QVO_E_NOMEM;
    if (const QVO_RET rc = fill_tables(it, context.groups.private_hash, context.agg_hash, where); rc != QVO_S_OK) {
        free_pairs(it);
        return rc;
    }
    context.groups.shared->hash = context.groups.private_hash;
    return QVO_S_OK;
}

void deliver_counts(qvo_seq_iterator_h it, size_t to, HashElem* const* elems, size_t n) {
    for (size_t i = 0; i < n; ++i) values_of<qvo_uint8>(it)[to + i] = elems[i]->count;
}

void clear_counts(const qvo_seq_hash_t& table) {
    for (qvo_size_t c = 0; c < table.table_size; ++c)
        for (HashElem* group = table.table[c]; group != nullptr; group = group->collision) group->count = 0;
}

/// Counts of groups that lost the values behind them.
void add_counts(HashElem& group, const HashElem& other) { group.count += other.count; }

/// Takes over the pairs; every pair that crosses the threshold by it counts for its group, which holds the count of
/// this side alone so far.
bool merge_pairs(qvo_seq_iterator_h dst, qvo_seq_hash_t* others) {
    struct Merging {
        const Context& context;
        HashFiller groups, pairs;
    };
    const Context& context = state<Context>(dst);
    const size_t width = key_width_of(*context.groups.shared);
    Merging merging{context,
                    {dst, context.groups.shared->hash, {.key_width = width}},
                    {dst, context.agg_hash, pair_layout(width, dst->opd[0])}};
    const auto join = [](void* to, HashElem* counterpart, HashElem& pair) {
        auto& [context, groups, pairs] = *static_cast<Merging*>(to);
        const uint64_t before = counterpart != nullptr ? counterpart->count : 0;
        const uint64_t after = before + pair.count;
        if (counterpart != nullptr) counterpart->count = after;
        if (crosses(context, before, after)) ++groups.find(pair)->count;
    };
    const bool grown = merging.pairs.take_over(others, join, &merging);
    merging.pairs.finish();
    return grown;
}

}  // namespace
}  // namespace qvo

extern "C" {

QVO_API QVO_RET qvo_seq_dup_hash_prepare(qvo_seq_iterator_h iterator) {
    return qvo::build_both(iterator, qvo::Where::here());
}

QVO_API QVO_RET qvo_seq_dup_hash_initialize(qvo_seq_iterator_h iterator) {
    const QVO_RET rc = qvo::build_both(iterator, qvo::Where::here());
    qvo::free_pairs(iterator);
    return rc;
}

QVO_API QVO_RET qvo_seq_dup_hash_next_count(qvo_seq_iterator_h iterator) {
    if (const QVO_RET rc = qvo_seq_dup_hash_initialize(iterator); rc != QVO_S_OK) return rc;
    return qvo::next_aggregates(iterator, qvo::deliver_counts);
}

QVO_API QVO_RET qvo_seq_dup_hash_next_grp(qvo_seq_iterator_h iterator) {
    if (const QVO_RET rc = qvo_seq_dup_hash_initialize(iterator); rc != QVO_S_OK) return rc;
    return qvo::next_groups(iterator);
}

QVO_API QVO_RET qvo_seq_dup_hash_merge(qvo_seq_iterator_h dst, qvo_seq_iterator_h src) {
    if (const QVO_RET rc = qvo_seq_dup_hash_prepare(dst); rc != QVO_S_OK) return rc;
    if (const QVO_RET rc = qvo_seq_dup_hash_prepare(src); rc != QVO_S_OK) return rc;
    auto &into = qvo::state<qvo::Context>(dst), &from = qvo::state<qvo::Context>(src);
    if (into.groups.shared == from.groups.shared) return QVO_S_OK;
    const bool recombine = into.agg_hash != nullptr && from.agg_hash != nullptr;
    if (!recombine) {
        qvo::free_pairs(dst);
        qvo::free_pairs(src);
        return qvo::merge_hash(dst, src, {nullptr, qvo::add_counts, nullptr});
    }
    // The other side's values are counted anew, pair by pair: its groups join with a count of 0.
    qvo::clear_counts(*from.groups.shared->hash);
    const QVO_RET rc = qvo::merge_hash(dst, src, {nullptr, qvo::add_counts, nullptr});
    const bool grown = qvo::merge_pairs(dst, std::exchange(from.agg_hash, nullptr));
    return grown ? rc : QVO_E_NOMEM;
}

QVO_API QVO_RET qvo_seq_hash_agg_dup_count(qvo_seq_iterator_h result_cnt, qvo_seq_iterator_h result_grp,
                                           qvo_seq_iterator_h input, qvo_seq_iterator_h group_by, qvo_size_t n_groups,
                                           qvo_size_t n_pairs, qvo_size_t min_occurrences) {
    if (const QVO_RET rc = qvo::bind({input, group_by}); rc != QVO_S_OK) return rc;
    const qvo::HashOperations operations{qvo_seq_dup_hash_next_count, qvo_seq_dup_hash_next_grp,
                                         qvo_seq_dup_hash_prepare, qvo_seq_dup_hash_merge};
    if (const QVO_RET rc = qvo::fill_hash_results(result_cnt, result_grp, input, group_by, n_groups,
                                                  qvo::layout_of<qvo::elem_uint8>, operations);
        rc != QVO_S_OK)
        return rc;
    for (qvo_seq_iterator_h result : {result_cnt, result_grp}) {
        auto& context = qvo::state<qvo::Context>(result);
        context.n_pairs = qvo::hash_chains_for(n_pairs);
        context.min_occurrences = min_occurrences;
        context.agg_hash = nullptr;
    }
    return QVO_S_OK;
}

QVO_API QVO_RET qvo_seq_hash_agg_distinct_count(qvo_seq_iterator_h result_cnt, qvo_seq_iterator_h result_grp,
                                                qvo_seq_iterator_h input, qvo_seq_iterator_h group_by,
                                                qvo_size_t n_groups, qvo_size_t n_pairs) {
    return qvo_seq_hash_agg_dup_count(result_cnt, result_grp, input, group_by, n_groups, n_pairs, 1);
}

}  // extern "C"
