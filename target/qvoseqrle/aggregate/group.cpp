// Aggregates of groups of consecutive positions with equal keys, and their sizes.
#include <utility>

#include "aggregate/fold.h"
#include "aggregate/group_walk.h"
#include "core/move.h"

namespace qvo {
namespace {

using Context = qvo_seq_agg_context_t;

// Accumulators in the context: a single value, or a sum with the sum of squares.

template <class A> QVO_INLINE void load(const Context& context, A& a) {
    std::memcpy(&a, &context.accumulator, sizeof a);
}
template <class A> QVO_INLINE void store(Context& context, const A& a) {
    std::memcpy(&context.accumulator, &a, sizeof a);
}

struct GroupMoments {
    double sum, squares;
};
QVO_INLINE void load(const Context& context, GroupMoments& m) { m = {context.accumulator.val_double, context.norm}; }
QVO_INLINE void store(Context& context, const GroupMoments& m) {
    context.accumulator.val_double = m.sum;
    context.norm = m.squares;
}

// What groups have beyond the aggregates of fold.h. First and last move bits, whatever these mean.

template <class E> struct FirstFold {
    struct Result {
        using value = typename E::bits;
    };
    using V = typename E::bits;
    using Accumulator = V;
    QVO_INLINE static V first(V v, unsigned) { return v; }
    QVO_INLINE static V fold(V a, V, unsigned) { return a; }
    QVO_INLINE static V finish(V a, uint64_t) { return a; }
};

template <class E> struct LastFold : FirstFold<E> {
    using V = typename E::bits;
    QVO_INLINE static V fold(V, V v, unsigned) { return v; }
};

template <class E, class Statistic> struct MomentsFold {
    using Result = elem_double;
    using V = typename E::value;
    using Accumulator = GroupMoments;
    QVO_INLINE static double squares(V v, unsigned n) {
        return static_cast<double>(v) * static_cast<double>(v) * static_cast<double>(n);
    }
    QVO_INLINE static GroupMoments first(V v, unsigned n) { return {weighted_double<E>(v, n), squares(v, n)}; }
    QVO_INLINE static GroupMoments fold(GroupMoments m, V v, unsigned n) {
        return {m.sum + weighted_double<E>(v, n), m.squares + squares(v, n)};
    }
    QVO_INLINE static double finish(GroupMoments m, uint64_t c) {
        return Statistic::of(m.sum, m.squares, static_cast<double>(c));
    }
};

QVO_INLINE GroupMoments chosen(uint64_t mask, GroupMoments yes, GroupMoments no) {
    return {qvo::chosen(mask, yes.sum, no.sum), qvo::chosen(mask, yes.squares, no.squares)};
}

template <class Fold> struct GroupLoops {
    using A = typename Fold::Accumulator;
    using R = typename Fold::Result::value;

    static void fold(qvo_seq_iterator_h it, const GroupSteps& steps, size_t to) {
        Context& context = state<Context>(it);
        const auto* values = values_of<typename Fold::V>(it->opd[0]);
        R* out = values_of<R>(it) + to;
        A a;
        load(context, a);
        const auto end = [&](uint64_t count) __attribute__((always_inline)) { *out++ = Fold::finish(a, count); };
        if (steps.brief) {
            const auto value = [&](size_t i) __attribute__((always_inline)) { return values[steps.value[i]]; };
            walk_brief_groups(
                steps, context.count,
                a, [&](size_t i) __attribute__((always_inline)) { return unsigned{steps.run[i]}; },
                [&](size_t i) __attribute__((always_inline)) { return Fold::first(value(i), steps.run[i]); },
                [&](A b, size_t i) __attribute__((always_inline)) { return Fold::fold(b, value(i), steps.run[i]); },
                [&](A b, uint64_t count) __attribute__((always_inline)) { *out++ = Fold::finish(b, count); });
        } else if (steps.plain) {
            values += steps.value[0];
            walk_groups(
                steps, context.count, [](size_t) { return 1U; },
                [&](size_t i) __attribute__((always_inline)) { a = Fold::first(values[i], 1); },
                [&](size_t i) __attribute__((always_inline)) { a = Fold::fold(a, values[i], 1); }, end);
        } else {
            walk_groups(
                steps, context.count,
                [&](size_t i) __attribute__((always_inline)) { a = Fold::first(values[steps.value[i]], steps.run[i]); },
                [&](size_t i)
                    __attribute__((always_inline)) { a = Fold::fold(a, values[steps.value[i]], steps.run[i]); },
                end);
        }
        store(context, a);
    }
    static void close(qvo_seq_iterator_h it, size_t to) {
        const Context& context = state<Context>(it);
        A a;
        load(context, a);
        values_of<R>(it)[to] = Fold::finish(a, context.count);
    }
    static constexpr GroupMember member{fold, close};
};

/// Weighted averages. Deliberately, the sum is divided by the value x positions of the group's last step and not by a
/// sum of weights.
template <class E> struct WeightedLoops {
    using V = typename E::value;
    using Result = sum_element<E>;
    using R = typename Result::value;

    static R finish(double norm, R last) {
        if constexpr (Result::is_floating)
            return norm / last;
        else
            return convert<R>(norm / static_cast<double>(static_cast<int64_t>(last)));
    }
    static void fold(qvo_seq_iterator_h it, const GroupSteps& steps, size_t to) {
        Context& context = state<Context>(it);
        const V *values = values_of<V>(it->opd[0]), *weights = values_of<V>(it->opd[1]);
        R* out = values_of<R>(it) + to;
        double norm = context.norm;
        R last;
        load(context, last);
        const auto product = [&](size_t i) __attribute__((always_inline)) {
            const V v = values[steps.value[i]], w = weights[steps.second[i]];
            last = weighted<E>(v, steps.run[i]);
            return static_cast<double>(v) * static_cast<double>(w) * static_cast<double>(steps.run[i]);
        };
        walk_groups(
            steps, context.count, [&](size_t i) __attribute__((always_inline)) { norm = product(i); },
            [&](size_t i) __attribute__((always_inline)) { norm += product(i); },
            [&](uint64_t) __attribute__((always_inline)) { *out++ = finish(norm, last); });
        context.norm = norm;
        store(context, last);
    }
    static void close(qvo_seq_iterator_h it, size_t to) {
        R last;
        load(state<Context>(it), last);
        values_of<R>(it)[to] = finish(state<Context>(it).norm, last);
    }
    static constexpr GroupMember member{fold, close};
};

QVO_RET fill_group(qvo_seq_iterator_h result, ElementLayout layout, std::initializer_list<qvo_seq_iterator_h> operands,
                   qvo_seq_iterator_h group_by, qvo_seq_iterator_next_t next, qvo_seq_iterator_reset_t reset) {
    if (group_by->elem_size > key_in_history(result).widest) return QVO_E_ILLEGAL_PARAM;
    fill_result(result, layout, operands, next, reset);
    result->prepared = 0;
    start_groups(result);
    return QVO_S_OK;
}

template <class E, class R>
QVO_RET construct_group(qvo_seq_iterator_h result, qvo_seq_iterator_h input, qvo_seq_iterator_h group_by,
                        qvo_seq_iterator_next_t next) {
    if (!has_type(input, E::code)) return QVO_E_ILLEGAL_TYPE;
    if (const QVO_RET rc = bind({input}); rc != QVO_S_OK) return rc;
    // Deliberately whatever the binding check says: a key feeds one group aggregate only. The input stays marked.
    if (group_by->bounded != 0) return QVO_E_SEQ_BOUNDED;
    group_by->bounded = 1;
    return fill_group(result, layout_of<R>, {input, group_by}, group_by, next, qvo_seq_reset_binary_agg_iterator);
}

template <class E, class R>
QVO_RET construct_weighted(qvo_seq_iterator_h result, qvo_seq_iterator_h left, qvo_seq_iterator_h right,
                           qvo_seq_iterator_h group_by, qvo_seq_iterator_next_t next) {
    if (!has_type(left, E::code) || !has_type(right, E::code)) return QVO_E_ILLEGAL_TYPE;
    if (const QVO_RET rc = bind({left, right, group_by}); rc != QVO_S_OK) return rc;
    return fill_group(result, layout_of<R>, {left, right, group_by}, group_by, next,
                      qvo_seq_reset_ternary_agg_iterator);
}

// ---- The sizes of groups ----

// Neighbours that are worth a look at many keys at a time.
constexpr size_t fewest_neighbours = 32;

/// Counts the elements of the current tile from p on, until it is used up or the result is full; returns where it has
/// come to. `differs(p)` compares the key of element p with the kept one and keeps it.
template <class Differs>
QVO_INLINE size_t count_tile(qvo_seq_iterator_h it, TileWriter& out, uint64_t& count, size_t p, Differs differs) {
    const qvo_seq_iterator_h keys = it->opd[0];
    uint64_t* const counts = values_of<uint64_t>(it);
    const size_t size = keys->tile_size;
    for (; p < size; ++p) {
        if (differs(p) && count != 0) {
            counts[out.size()] = std::exchange(count, 0);
            out.put_run(1);
            if (out.room() == 0) break;  // the element comes again in the next call
        }
        count += get_run(runs_of(keys), p);
    }
    return p;
}

size_t count_tile(qvo_seq_iterator_h it, TileWriter& out, uint64_t& count, size_t p) {
    const qvo_seq_iterator_h group_by = it->opd[0];
    const size_t width = group_by->elem_size;
    const auto of_words = [&](auto bits) {
        using Bits = decltype(bits);
        uint8_t* const kept = key_in_accumulator(it).bytes;
        const Bits* const keys = values_of<Bits>(group_by);
        return count_tile(
            it, out, count, p, [=](size_t i) __attribute__((always_inline)) {
                Bits last;
                std::memcpy(&last, kept, sizeof last);
                std::memcpy(kept, &keys[i], sizeof last);
                return keys[i] != last;
            });
    };
    const auto of_bytes = [&] {
        uint8_t* const kept = key_in_history(it).bytes;
        const uint8_t* const keys = values_of<uint8_t>(group_by);
        return count_tile(it, out, count, p, [=](size_t i) {
            const bool differs = qvo_memcmp(keys + i * width, kept, width) != 0;
            std::memcpy(kept, keys + i * width, width);
            return differs;
        });
    };
    return with_unsigned(width, of_words, of_bytes);
}

/// The same of neighbours with runs of 1 and keys that are words, as many as there are; else of all.
size_t count_some(qvo_seq_iterator_h it, TileWriter& out, uint64_t& count, size_t p) {
    const qvo_seq_iterator_h group_by = it->opd[0];
    const size_t n = leading_single_runs(runs_of(group_by) - p, std::min(group_by->tile_size - p, GroupSteps::most));
    if (n < fewest_neighbours || !has_words(group_by->elem_size)) return count_tile(it, out, count, p);

    uint16_t index[GroupSteps::most + 7], ends[GroupSteps::most + 1];
    fill_indexes(index, p, n);
    KeySteps steps{values_of<uint8_t>(group_by), group_by->elem_size, index, n, false, count != 0, out.room()};
    const size_t n_ends = find_ends(steps, key_in_accumulator(it).bytes, ends);
    uint64_t* const counts = values_of<uint64_t>(it) + out.size();
    if (n_ends != 0) counts[0] = count + ends[0];
    for (size_t j = 1; j < n_ends; ++j) counts[j] = uint64_t{ends[j]} - ends[j - 1];
    count = n_ends == 0 ? count + steps.n : steps.n - ends[n_ends - 1];
    out.put_equal_runs(n_ends, 1);
    return p + steps.n;
}

QVO_RET next_counts(qvo_seq_iterator_h it, Where where) {
    const qvo_seq_iterator_h keys = it->opd[0];
    Context& context = state<Context>(it);
    TileWriter out(it);
    uint64_t count = context.count;
    size_t p = keys->tile_offs;
    QVO_RET rc = QVO_S_OK;
    while (out.room() != 0) {
        if (p >= keys->tile_size) {
            if (rc = pull_any_tile(keys, where); rc != QVO_S_OK) break;
            p = 0;
        }
        if (keys->elem_size > key_in_history(it).widest) rc = QVO_E_ILLEGAL_PARAM;
        if (rc != QVO_S_OK) break;
        p = count_some(it, out, count, p);
    }
    keys->tile_offs = static_cast<uint16_t>(p);
    if (rc == QVO_S_CURSOR_END && count != 0) {
        values_of<uint64_t>(it)[out.size()] = std::exchange(count, 0);
        out.put_run(1);
    }
    context.count = count;
    return out.finish(rc);
}

}  // namespace

#define DEFINE_GROUP(name, Element, Result, Loops)                                           \
    extern "C" QVO_API QVO_RET name##_next(qvo_seq_iterator_h iterator) {                    \
        return group_next(iterator, Loops::member, key_in_history(iterator), Where::here()); \
    }                                                                                        \
    extern "C" QVO_API QVO_RET name(qvo_seq_iterator_h result, qvo_seq_iterator_h input,     \
                                    qvo_seq_iterator_h group_by) {                           \
        return construct_group<Element, Result>(result, input, group_by, name##_next);       \
    }
#define DEFINE_FOLD(name, Element, Fold) DEFINE_GROUP(name, Element, Fold::Result, GroupLoops<Fold>)

#define STAMP(type)                                                                                                    \
    using Variance_##type = MomentsFold<elem_##type, Variance>;                                                        \
    using SampleVariance_##type = MomentsFold<elem_##type, SampleVariance>;                                            \
    using Deviation_##type = MomentsFold<elem_##type, Deviation>;                                                      \
    using SampleDeviation_##type = MomentsFold<elem_##type, SampleDeviation>;                                          \
    DEFINE_FOLD(qvo_seq_group_agg_max_##type, elem_##type, MaxFold<elem_##type>)                                       \
    DEFINE_FOLD(qvo_seq_group_agg_min_##type, elem_##type, MinFold<elem_##type>)                                       \
    DEFINE_GROUP(qvo_seq_group_agg_first_##type, elem_##type, elem_##type, GroupLoops<FirstFold<elem_##type>>)         \
    DEFINE_GROUP(qvo_seq_group_agg_last_##type, elem_##type, elem_##type, GroupLoops<LastFold<elem_##type>>)           \
    DEFINE_FOLD(qvo_seq_group_agg_sum_##type, elem_##type, SumFold<elem_##type>)                                       \
    DEFINE_FOLD(qvo_seq_group_agg_avg_##type, elem_##type, AvgFold<elem_##type>)                                       \
    DEFINE_FOLD(qvo_seq_group_agg_var_##type, elem_##type, Variance_##type)                                            \
    DEFINE_FOLD(qvo_seq_group_agg_var_samp_##type, elem_##type, SampleVariance_##type)                                 \
    DEFINE_FOLD(qvo_seq_group_agg_dev_##type, elem_##type, Deviation_##type)                                           \
    DEFINE_FOLD(qvo_seq_group_agg_dev_samp_##type, elem_##type, SampleDeviation_##type)                                \
    extern "C" QVO_API QVO_RET qvo_seq_group_agg_wavg_##type##_next(qvo_seq_iterator_h iterator) {                     \
        return group_pair_next(iterator, WeightedLoops<elem_##type>::member, key_in_history(iterator), Where::here()); \
    }                                                                                                                  \
    extern "C" QVO_API QVO_RET qvo_seq_group_agg_wavg_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h left,       \
                                                             qvo_seq_iterator_h right, qvo_seq_iterator_h group_by) {  \
        return construct_weighted<elem_##type, sum_element<elem_##type>>(result, left, right, group_by,                \
                                                                         qvo_seq_group_agg_wavg_##type##_next);        \
    }
QVO_SEQ_FOR_FIXED_TYPES(STAMP)
#undef STAMP
#undef DEFINE_FOLD
#undef DEFINE_GROUP

}  // namespace qvo

extern "C" {

QVO_API QVO_RET qvo_seq_group_agg_count_next(qvo_seq_iterator_h iterator) {
    return qvo::next_counts(iterator, qvo::Where::here());
}

QVO_API QVO_RET qvo_seq_group_agg_count(qvo_seq_iterator_h result, qvo_seq_iterator_h group_by) {
    if (const QVO_RET rc = qvo::bind({group_by}); rc != QVO_S_OK) return rc;
    return qvo::fill_group(result, qvo::layout_of<qvo::elem_uint8>, {group_by}, group_by, qvo_seq_group_agg_count_next,
                           qvo_seq_reset_unary_agg_iterator);
}

}  // extern "C"
