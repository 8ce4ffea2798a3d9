// Aggregates by hash of a key sequence, hashes of elements, and releasing the tables.
#include <utility>

#include "aggregate/fold.h"
#include "aggregate/hash_count.h"
#include "aggregate/hash_result.h"
#include "aggregate/murmur3.h"
#include "aggregate/sketch.h"

namespace qvo {
namespace {

template <class V> QVO_INLINE V load_aggregate(const HashElem& elem) {
    V v;
    std::memcpy(&v, &elem.agg, sizeof v);
    return v;
}

template <class V> QVO_INLINE void store_aggregate(HashElem& elem, V v) { std::memcpy(&elem.agg, &v, sizeof v); }

/// The loops of a member whose accumulator is in the element.
template <class Fold> struct FoldLoops {
    using A = typename Fold::Accumulator;

    static void fold(qvo_seq_iterator_h input, const uint16_t* index, const uint8_t* run, HashElem* const* elems,
                     size_t n, const uint16_t* created) {
        const auto* values = values_of<typename Fold::V>(input);
        // Read only when it changes, so that no step waits for the look whether the one before is new.
        size_t next_new = *created;
        for (size_t i = 0; i < n;) {
            HashElem* const elem = elems[i];
            A a;
            if (i == next_new) {
                a = Fold::first(values[index[i]], run[i]);
                next_new = *++created;
            } else {
                a = Fold::fold(load_aggregate<A>(*elem), values[index[i]], run[i]);
            }
            uint64_t count = elem->count + run[i];
            // Steps for the same group in a row stay in registers.
            for (++i; i < n && elems[i] == elem; ++i) {
                a = Fold::fold(a, values[index[i]], run[i]);
                count += run[i];
            }
            store_aggregate(*elem, a);
            elem->count = count;
        }
    }
    static void merge(HashElem& elem, const HashElem& other) {
        store_aggregate(elem, Fold::merge(load_aggregate<A>(elem), load_aggregate<A>(other)));
        elem.count += other.count;
    }
    static void deliver(qvo_seq_iterator_h it, size_t to, HashElem* const* elems, size_t n) {
        auto* out = values_of<typename Fold::Result::value>(it) + to;
        for (size_t i = 0; i < n; ++i) out[i] = Fold::finish(load_aggregate<A>(*elems[i]), elems[i]->count);
    }
    static constexpr HashMember member{fold, merge, deliver};
};

struct CountLoops {
    static void fold(qvo_seq_iterator_h, const uint16_t*, const uint8_t* run, HashElem* const* elems, size_t n,
                     const uint16_t*) {
        for (size_t i = 0; i < n; ++i) elems[i]->count += run[i];
    }
    static void merge(HashElem& elem, const HashElem& other) { elem.count += other.count; }
    static void deliver(qvo_seq_iterator_h it, size_t to, HashElem* const* elems, size_t n) {
        for (size_t i = 0; i < n; ++i) values_of<qvo_uint8>(it)[to + i] = elems[i]->count;
    }
    static constexpr HashMember member{fold, merge, deliver};
};

struct SketchLoops {
    static void fold(qvo_seq_iterator_h input, const uint16_t* index, const uint8_t* run, HashElem* const* elems,
                     size_t n, const uint16_t*) {
        if (n == 0) return;
        uint32_t hashes[HashFiller::most];
        const size_t first = index[0], width = input->elem_size;
        hash_values(values_of<uint8_t>(input) + first * width, width, index[n - 1] - first + 1, hash_seed, hashes);
        for (size_t i = 0; i < n; ++i) {
            add_hash(hashes[index[i] - first], registers(*elems[i]));
            elems[i]->count += run[i];
        }
    }
    static void merge(HashElem& elem, const HashElem& other) {
        merge_registers(registers(elem), registers(other));
        elem.count += other.count;
    }
    static void deliver(qvo_seq_iterator_h it, size_t to, HashElem* const* elems, size_t n) {
        for (size_t i = 0; i < n; ++i) values_of<qvo_uint4>(it)[to + i] = estimate(registers(*elems[i]));
    }
    static uint8_t* registers(const HashElem& elem) { return static_cast<uint8_t*>(elem.agg.ptr); }
    static constexpr HashMember member{fold, merge, deliver, true};
};

/// The duplicate counts hold a table of pairs beside that of the groups; either result may.
bool counts_duplicates(qvo_seq_iterator_h it) {
    return it->next == qvo_seq_dup_hash_next_count || it->next == qvo_seq_dup_hash_next_grp;
}

/// Releases all that the two results share and leaves both without it.
void release(qvo_seq_iterator_h it, qvo_seq_shared_hash_t* shared) {
    drop_failed_build(it, *shared);
    free_hash_table(it, shared->hash);
    for (qvo_seq_hash_iterator_context_t* context : shared->refs) {
        if (counts_duplicates(it)) {
            auto* counting = reinterpret_cast<qvo_seq_dup_hash_iterator_context_t*>(context);
            free_hash_table(it, std::exchange(counting->agg_hash, nullptr));
        }
        context->shared = nullptr;
    }
    qvo_seq_free(it, shared, sizeof *shared);
}

/// A call of qvo_seq_hash fills what a tile of the keys holds, as far as the result does.
size_t hash_capacity(qvo_seq_iterator_h it) {
    return std::min(capacity_of(it->opd[0]->elem_size), elem_uint4::capacity);
}

}  // namespace

// What a member asks of its input before anything else.
template <class E> QVO_RET check_input(qvo_seq_iterator_h input) {
    if (input == nullptr) return QVO_E_ILLEGAL_PARAM;
    return has_type(input, E::code) ? QVO_S_OK : QVO_E_ILLEGAL_TYPE;
}

// One member; `check` is the code of its look at the input.
#define DEFINE_HASH(name, initialize, merge_name, Loops, Result, check)                                           \
    extern "C" QVO_API QVO_RET initialize(qvo_seq_iterator_h iterator) {                                          \
        return build_hash(iterator, Loops::member, Where::here());                                                \
    }                                                                                                             \
    extern "C" QVO_API QVO_RET merge_name(qvo_seq_iterator_h dst, qvo_seq_iterator_h src) {                       \
        if (const QVO_RET rc = initialize(dst); rc != QVO_S_OK) return rc;                                        \
        if (const QVO_RET rc = initialize(src); rc != QVO_S_OK) return rc;                                        \
        return merge_hash(dst, src, Loops::member);                                                               \
    }                                                                                                             \
    extern "C" QVO_API QVO_RET name##_next_agg(qvo_seq_iterator_h iterator) {                                     \
        if (const QVO_RET rc = initialize(iterator); rc != QVO_S_OK) return rc;                                   \
        return next_aggregates(iterator, Loops::member.deliver);                                                  \
    }                                                                                                             \
    extern "C" QVO_API QVO_RET name##_next_grp(qvo_seq_iterator_h iterator) {                                     \
        if (const QVO_RET rc = initialize(iterator); rc != QVO_S_OK) return rc;                                   \
        return next_groups(iterator);                                                                             \
    }                                                                                                             \
    extern "C" QVO_API QVO_RET name(qvo_seq_iterator_h result_agg, qvo_seq_iterator_h result_grp,                 \
                                    qvo_seq_iterator_h input, qvo_seq_iterator_h group_by, qvo_size_t n_groups) { \
        if (const QVO_RET rc = check; rc != QVO_S_OK) return rc;                                                  \
        return construct_hash(result_agg, result_grp, input, group_by, n_groups, layout_of<Result>,               \
                              {name##_next_agg, name##_next_grp, initialize, merge_name});                        \
    }

#define STAMP_FOLD(name, initialize, merge_name, Fold, type) \
    DEFINE_HASH(name, initialize, merge_name, FoldLoops<Fold>, typename Fold::Result, check_input<elem_##type>(input))

#define STAMP(type)                                                                                            \
    STAMP_FOLD(qvo_seq_hash_agg_max_##type, qvo_seq_hash_initialize_max_##type, qvo_seq_hash_merge_max_##type, \
               MaxFold<elem_##type>, type)                                                                     \
    STAMP_FOLD(qvo_seq_hash_agg_min_##type, qvo_seq_hash_initialize_min_##type, qvo_seq_hash_merge_min_##type, \
               MinFold<elem_##type>, type)                                                                     \
    STAMP_FOLD(qvo_seq_hash_agg_sum_##type, qvo_seq_hash_initialize_sum_##type, qvo_seq_hash_merge_sum_##type, \
               SumFold<elem_##type>, type)                                                                     \
    STAMP_FOLD(qvo_seq_hash_agg_avg_##type, qvo_seq_hash_initialize_avg_##type, qvo_seq_hash_merge_avg_##type, \
               AvgFold<elem_##type>, type)
QVO_SEQ_FOR_FIXED_TYPES(STAMP)
#undef STAMP
#undef STAMP_FOLD

DEFINE_HASH(qvo_seq_hash_agg_count_uint8, qvo_seq_hash_initialize_count_uint8, qvo_seq_hash_merge_count_uint8,
            CountLoops, elem_uint8, input == nullptr ? QVO_S_OK : check_input<elem_uint8>(input))
DEFINE_HASH(qvo_seq_hash_agg_approxdc, qvo_seq_hash_initialize_approxdc, qvo_seq_hash_merge_approxdc, SketchLoops,
            elem_uint4, input != nullptr ? QVO_S_OK : QVO_E_ILLEGAL_PARAM)
#undef DEFINE_HASH

namespace {

QVO_RET next_hashes(qvo_seq_iterator_h it) {
    const qvo_seq_iterator_h left = it->opd[0];
    Operand keys(left);
    TileWriter out(it, hash_capacity(it));
    const size_t width = left->elem_size;
    return out.finish(walk_elements(keys, out, Where::here(), [&](size_t index, size_t n) {
        hash_values(values_of<uint8_t>(left) + index * width, width, n, hash_seed,
                    values_of<uint32_t>(it) + out.size());
        out.put_runs(runs_of(left) - index, n);
    }));
}

QVO_RET next_chained_hashes(qvo_seq_iterator_h it) {
    const qvo_seq_iterator_h left = it->opd[0], right = it->opd[1];
    Operand operands[2] = {Operand(left), Operand(right)};
    OverlapList<2> list;
    TileWriter out(it, hash_capacity(it));
    QVO_RET rc = QVO_S_OK;
    while (out.room() != 0) {
        if (rc = refill_all(Where::here(), operands); rc != QVO_S_OK) break;
        list.collect(operands, out.room());
        uint32_t* hashes = values_of<uint32_t>(it) + out.size();
        for (size_t i = 0; i < list.n; ++i) hashes[i] = values_of<uint32_t>(right)[list.index[1][i]];
        hash_values_at(values_of<uint8_t>(left), left->elem_size, list.index[0], list.n, hashes, hashes);
        for (size_t i = 0; i < list.n; ++i) out.put_run(list.run[i]);
    }
    for (const Operand& operand : operands) operand.store();
    return out.finish(rc);
}

}  // namespace
}  // namespace qvo

extern "C" {

double qvo_seq_hash_table_load_factor = 1.0;
qvo_size_t qvo_seq_hash_table_init_size = 1361;

QVO_API QVO_RET qvo_seq_hash_agg_count(qvo_seq_iterator_h result_agg, qvo_seq_iterator_h result_grp,
                                       qvo_seq_iterator_h group_by, qvo_size_t n_groups) {
    return qvo_seq_hash_agg_count_uint8(result_agg, result_grp, nullptr, group_by, n_groups);
}

QVO_API QVO_RET qvo_seq_hash_agg_reset(qvo_seq_iterator_h iterator) {
    auto& context = qvo::state<qvo_seq_hash_iterator_context_t>(iterator);
    context.curr_elem = nullptr;
    context.chain_no = 0;
    return qvo_seq_reset_iterator(iterator);
}

QVO_API qvo_bool qvo_seq_is_hash_aggreate(qvo_seq_iterator_h iterator) { return qvo::is_hash_aggregate(iterator); }

QVO_API void qvo_seq_release_hash(qvo_seq_iterator_h iterator) {
    qvo_seq_shared_hash_t* shared = qvo::state<qvo_seq_hash_iterator_context_t>(iterator).shared;
    if (shared == nullptr) qvo::fatal_stop(qvo::Where::here());
    qvo::release(iterator, shared);
}

QVO_API int qvo_seq_free_hash(qvo_seq_iterator_h iterator) {
    qvo_seq_shared_hash_t* shared = qvo::state<qvo_seq_hash_iterator_context_t>(iterator).shared;
    if (shared == nullptr) return 0;
    qvo::release(iterator, shared);
    return 1;
}

QVO_API QVO_RET qvo_seq_hash_next(qvo_seq_iterator_h iterator) {
    return iterator->opd[1] != nullptr ? qvo::next_chained_hashes(iterator) : qvo::next_hashes(iterator);
}

QVO_API QVO_RET qvo_seq_hash(qvo_seq_iterator_h result, qvo_seq_iterator_h left, qvo_seq_iterator_h right) {
    if (right == nullptr) {
        if (const QVO_RET rc = qvo::bind({left}); rc != QVO_S_OK) return rc;
        qvo::fill_result(result, qvo::layout_of<qvo::elem_uint4>, {left, nullptr}, qvo_seq_hash_next,
                         qvo_seq_reset_unary_iterator);
        return QVO_S_OK;
    }
    if (!qvo::has_type(right, QVO_DD_UINT4)) return QVO_E_ILLEGAL_TYPE;
    if (const QVO_RET rc = qvo::bind({right, left}); rc != QVO_S_OK) return rc;
    qvo::fill_result(result, qvo::layout_of<qvo::elem_uint4>, {left, right}, qvo_seq_hash_next,
                     qvo_seq_reset_binary_iterator);
    return QVO_S_OK;
}

}  // extern "C"
