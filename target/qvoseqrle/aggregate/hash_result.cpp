#include "aggregate/hash_result.h"

#include <optional>
#include <utility>

#include "aggregate/hash_count.h"
#include "aggregate/murmur3.h"
#include "core/move.h"

namespace qvo {
namespace {

using Context = qvo_seq_hash_iterator_context_t;
using Shared = qvo_seq_shared_hash_t;
static_assert(sizeof(Shared) == 24);

/// Reads the value at(i) as the i-th key.
template <class Bits, class At> void read_words(const Bits* values, At at, size_t n, qvo_seq_key_t* keys) {
    for (size_t i = 0; i < n; ++i) {
        // On the bytes: where the low byte does not come first, the key stands at the front of its word too.
        keys[i].val = values[at(i)];
        if constexpr (std::endian::native == std::endian::big) keys[i].val <<= 64 - 8 * sizeof(Bits);
    }
}

template <class At> void read_keys_at(qvo_seq_iterator_h it, At at, size_t n, qvo_seq_key_t* keys) {
    const size_t width = it->elem_size;
    uint8_t* values = values_of<uint8_t>(it);
    with_unsigned(
        width, [&](auto bits) { read_words(values_of<decltype(bits)>(it), at, n, keys); },
        [&] {
            for (size_t i = 0; i < n; ++i) {
                keys[i].val = 0;
                if (width > HashLayout::widest_inline)
                    keys[i].ptr = values + at(i) * width;
                else
                    std::memcpy(&keys[i], values + at(i) * width, width);
            }
        });
}

/// Up to `room` elements from the read position on, chain after chain, and moves it.
size_t read_elements(Context& context, HashElem** elems, size_t room) {
    const qvo_seq_hash_t& table = *context.shared->hash;
    constexpr size_t ahead = 8;  // chains whose first elements are asked for in advance
    HashElem* elem = context.curr_elem;
    qvo_size_t chain = context.chain_no;
    size_t n = 0;
    while (n != room) {
        if (elem == nullptr) {
            if (chain == table.table_size) break;
            if (chain + ahead < table.table_size) __builtin_prefetch(table.table[chain + ahead]);
            elem = table.table[chain++];
            continue;
        }
        elems[n++] = elem;
        elem = elem->collision;
    }
    context.curr_elem = elem;
    context.chain_no = chain;
    return n;
}

template <class Write> QVO_RET next_elements(qvo_seq_iterator_h it, Write write) {
    constexpr size_t most = 256;
    HashElem* elems[most];
    TileWriter out(it);
    while (out.room() != 0) {
        const size_t n = read_elements(state<Context>(it), elems, std::min(most, out.room()));
        if (n == 0) return out.finish(QVO_S_CURSOR_END);
        write(out.size(), elems, n);
        out.put_equal_runs(n, 1);
    }
    return out.finish(QVO_S_OK);
}

template <class Bits> void write_keys(qvo_seq_iterator_h it, size_t to, HashElem* const* elems, size_t n) {
    Bits* out = values_of<Bits>(it) + to;
    for (size_t i = 0; i < n; ++i) std::memcpy(out + i, &elems[i]->grp, sizeof(Bits));
}

void write_wide_keys(qvo_seq_iterator_h it, size_t to, HashElem* const* elems, size_t n) {
    const size_t width = it->elem_size;
    uint8_t* out = values_of<uint8_t>(it) + to * width;
    for (size_t i = 0; i < n; ++i, out += width)
        std::memcpy(out, width > HashLayout::widest_inline ? elems[i]->grp.ptr : &elems[i]->grp, width);
}

}  // namespace

void read_keys(qvo_seq_iterator_h it, const uint16_t* index, size_t n, qvo_seq_key_t* keys) {
    read_keys_at(
        it, [=](size_t i) { return size_t{index[i]}; }, n, keys);
}

HashSteps::HashSteps(qvo_seq_iterator_h group_by, qvo_seq_iterator_h input)
    : operands_{Operand(group_by), Operand(input != nullptr ? input : group_by)}, single_(input == nullptr) {}

QVO_RET HashSteps::collect(Where where) {
    if (single_) {
        if (const QVO_RET rc = operands_[0].refill(where); rc != QVO_S_OK) return rc;
        operands_[1] = operands_[0];
    } else if (const QVO_RET rc = refill_all(where, operands_); rc != QVO_S_OK) {
        return rc;
    }
    const size_t width = operands_[0].iterator()->elem_size;
    if (const QVO_RET rc = check_width(operands_[0].iterator(), key_width_); rc != QVO_S_OK) return rc;
    key_width_ = width;
    list_.collect(operands_);
    return QVO_S_OK;
}

void HashSteps::probe_keys(HashFiller::Probes& probes) const {
    const qvo_seq_iterator_h group_by = operands_[0].iterator();
    const size_t first = keys()[0], width = group_by->elem_size, n = keys()[size() - 1] - first + 1;
    const uint8_t* values = values_of<uint8_t>(group_by) + first * width;
    if (n == size()) {  // a key a step
        hash_values(values, width, n, hash_seed, probes.key_hash);
        read_keys_at(
            group_by, [=](size_t i) { return first + i; }, n, probes.key);
        return;
    }
    uint32_t hashes[OverlapList<2>::most];
    hash_values(values, width, n, hash_seed, hashes);
    for (size_t i = 0; i < size(); ++i) probes.key_hash[i] = hashes[keys()[i] - first];
    read_keys(group_by, keys(), size(), probes.key);
}

void HashSteps::stop_at(size_t i) {
    list_.set_back(operands_, i);
    for (size_t k = 0; k < (single_ ? 1 : 2); ++k) operands_[k].store();
}

uint16_t& key_width_of(const Shared& shared) {
    // The second of the two results, from the context that lies in it.
    auto* const context = reinterpret_cast<uint8_t*>(shared.refs[1]);
    return reinterpret_cast<qvo_seq_iterator_h>(context - offsetof(qvo_seq_iterator_t, context))->elem_size;
}

bool is_hash_aggregate(qvo_seq_iterator_h it) { return it->reset == qvo_seq_hash_agg_reset; }

uint64_t hash_entries(qvo_seq_iterator_h it) {
    const Shared* shared = state<Context>(it).shared;
    return shared != nullptr && shared->hash != nullptr ? shared->hash->table_used : 0;
}

QVO_RET fill_hash_results(qvo_seq_iterator_h result_agg, qvo_seq_iterator_h result_grp, qvo_seq_iterator_h input,
                          qvo_seq_iterator_h group_by, qvo_size_t n_groups, ElementLayout layout,
                          const HashOperations& operations) {
    auto* shared = static_cast<Shared*>(qvo_seq_malloc(result_agg, sizeof(Shared)));
    if (shared == nullptr) return QVO_E_NOMEM;
    Context &agg = state<Context>(result_agg), &grp = state<Context>(result_grp);
    agg = grp = {hash_chains_for(n_groups), 0, nullptr, shared, nullptr};
    *shared = {nullptr, {&agg, &grp}};
    fill_result(result_agg, layout, {input, group_by}, operations.next_agg, qvo_seq_hash_agg_reset);
    fill_result(result_grp, {group_by->elem_type, group_by->elem_size}, {input, group_by}, operations.next_grp,
                qvo_seq_hash_agg_reset);
    result_agg->prepared = 0;
    result_agg->prepare = operations.initialize;
    result_agg->merge = operations.merge;
    return QVO_S_OK;
}

// The operands are checked and marked one after the other: a bound group_by leaves input marked.
QVO_RET construct_hash(qvo_seq_iterator_h result_agg, qvo_seq_iterator_h result_grp, qvo_seq_iterator_h input,
                       qvo_seq_iterator_h group_by, qvo_size_t n_groups, ElementLayout layout,
                       const HashOperations& operations) {
    if (input != nullptr)
        if (const QVO_RET rc = bind({input}); rc != QVO_S_OK) return rc;
    if (const QVO_RET rc = bind({group_by}); rc != QVO_S_OK) return rc;
    return fill_hash_results(result_agg, result_grp, input, group_by, n_groups, layout, operations);
}

void drop_failed_build(qvo_seq_iterator_h it, Shared& shared) {
    for (Context* context : shared.refs) {
        if (context->private_hash != shared.hash) free_hash_table(it, context->private_hash);
        context->private_hash = nullptr;
    }
}

QVO_RET build_hash(qvo_seq_iterator_h it, const HashMember& member, Where where) {
    Context& context = state<Context>(it);
    if (is_built(it)) return QVO_S_OK;
    const qvo_seq_iterator_h input = it->opd[0], group_by = it->opd[1];
    drop_failed_build(it, *context.shared);
    qvo_seq_hash_t* table = new_hash_table(it, context.n_groups);
    if (table == nullptr) return QVO_E_NOMEM;
    context.private_hash = table;

    std::optional<HashFiller> filler;  // as soon as there are keys, which may only then have a width
    HashFiller::Probes probes;
    HashElem* elems[HashFiller::most];
    HashSteps steps(group_by, input);
    QVO_RET rc;
    while ((rc = steps.collect(where)) == QVO_S_OK) {
        if (!filler) filler.emplace(it, table, HashLayout{.key_width = steps.key_width(), .sketches = member.sketches});
        steps.probe_keys(probes);
        const size_t done = filler->locate(probes, steps.size(), elems);
        member.fold(input, steps.values(), steps.runs(), elems, done, filler->created());
        if (done == steps.size()) continue;
        steps.stop_at(done);
        return QVO_E_NOMEM;
    }
    if (rc != QVO_S_CURSOR_END) return rc;
    if (filler) {
        filler->finish();
        key_width_of(*context.shared) = static_cast<uint16_t>(steps.key_width());
    }
    context.shared->hash = table;
    return QVO_S_OK;
}

QVO_RET merge_hash(qvo_seq_iterator_h dst, qvo_seq_iterator_h src, const HashMember& member) {
    Context &into = state<Context>(dst), &from = state<Context>(src);
    if (into.shared == from.shared) return QVO_S_OK;
    qvo_seq_hash_t* other = std::exchange(from.shared->hash, nullptr);
    for (Context* context : from.shared->refs) context->private_hash = nullptr;
    // A side without groups may never have learned its width.
    const uint16_t width = std::max(key_width_of(*into.shared), key_width_of(*from.shared));
    key_width_of(*into.shared) = width;
    HashFiller filler(dst, into.shared->hash, {.key_width = width});
    const auto join = [](void* merge, HashElem* counterpart, HashElem& elem) {
        if (counterpart != nullptr) (*static_cast<const HashMember::Merge*>(merge))(*counterpart, elem);
    };
    HashMember::Merge merge = member.merge;
    const bool grown = filler.take_over(other, join, &merge);
    filler.finish();
    return grown ? QVO_S_OK : QVO_E_NOMEM;
}

QVO_RET next_aggregates(qvo_seq_iterator_h it, HashMember::Deliver deliver) {
    return next_elements(it, [=](size_t to, HashElem* const* elems, size_t n) { deliver(it, to, elems, n); });
}

QVO_RET next_groups(qvo_seq_iterator_h it) {
    const auto write = with_unsigned(
        it->elem_size, [](auto bits) { return &write_keys<decltype(bits)>; }, [] { return &write_wide_keys; });
    return next_elements(it, [=](size_t to, HashElem* const* elems, size_t n) { write(it, to, elems, n); });
}

}  // namespace qvo
