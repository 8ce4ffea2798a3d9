// Aggregates of groups of consecutive positions with equal keys: values that are kept, and sums.
#include <utility>

#include "aggregate/fold.h"
#include "aggregate/group_sum.h"
#include "core/move.h"

namespace qvo {
namespace {

using Context = qvo_seq_agg_context_t;

// ---- Aggregates that keep one of the values ----
//
// First and last move bits, whatever these mean.

template <class Bits> struct First {
    using V = Bits;
    QVO_INLINE static V fold(V a, V) { return a; }
};
template <class Bits> struct Last {
    using V = Bits;
    QVO_INLINE static V fold(V, V v) { return v; }
};
template <class E, class Order> struct Extreme {
    using V = typename E::value;
    QVO_INLINE static V fold(V a, V v) { return Order::apply(a, v); }
};

template <class Kept> struct KeptLoops {
    using V = typename Kept::V;

    static void fold(qvo_seq_iterator_h it, const GroupSteps& steps, size_t to) {
        Context& context = state<Context>(it);
        const auto* values = steps.value.as<V>();
        V* out = values_of<V>(it) + to;
        V a;
        std::memcpy(&a, &context.accumulator, sizeof a);
        const auto value = [&](size_t i) __attribute__((always_inline)) { return values[steps.value.index[i]]; };
        const auto end = [&](uint64_t) __attribute__((always_inline)) { *out++ = a; };
        if (steps.mixed) {
            V ended[GroupSteps::most + 1];
            walk_mixed_groups(
                steps, context.count, a, ended,
                value, [&](V b, size_t i) __attribute__((always_inline)) { return Kept::fold(b, value(i)); });
            std::memcpy(out, ended, steps.n_ends * sizeof(V));
        } else if (steps.plain) {
            values += steps.value.index[0];
            walk_groups(
                steps, context.count,
                [](size_t) { return 1U; }, [&](size_t i) __attribute__((always_inline)) { a = values[i]; },
                [&](size_t i) __attribute__((always_inline)) { a = Kept::fold(a, values[i]); }, end);
        } else {
            walk_groups(
                steps, context.count, [&](size_t i) __attribute__((always_inline)) { a = value(i); },
                [&](size_t i) __attribute__((always_inline)) { a = Kept::fold(a, value(i)); }, end);
        }
        std::memcpy(&context.accumulator, &a, sizeof a);
    }
    static void close(qvo_seq_iterator_h it, size_t to) {
        std::memcpy(values_of<V>(it) + to, &state<Context>(it).accumulator, sizeof(V));
    }
    static constexpr GroupMember member{fold, close};
};

// ---- Sums, and what is made of them ----

/// The values of the steps, side by side.
template <class V> class StepValues {
 public:
    StepValues(const GroupSteps& steps, StepElements from) : values_(from.as<V>() + from.index[0]) {
        if (steps.plain) return;
        spread_values(from.values, sizeof(V), from.index, steps.n, reinterpret_cast<uint8_t*>(room_.of));
        values_ = room_.of;
    }
    StepValues(const StepValues&) = delete;
    QVO_INLINE const V* get() const { return values_; }

 private:
    const V* values_;
    GroupNumbers<V> room_;
};

/// out[i] = Term::of(values[i] ..., run[i])
template <class Term, class T, class... V> struct Terms {
    QVO_INLINE static void fill(T* __restrict out, const uint8_t* __restrict run, size_t n,
                                const V* __restrict... values) {
        for (size_t i = 0; i < n; ++i) out[i] = static_cast<T>(Term::of(values[i]..., run[i]));
    }
    QVO_INLINE static void loop(T* out, const uint8_t* run, size_t n, const V*... values) {
        fill(out, run, n, values...);
    }
    static constexpr auto make = for_cpu<loop>;
};

/// The sum of integers after what a group has come to, each of one position.
template <class Term, class T, class V> struct LongSum {
    QVO_INLINE static T loop(T sum, const V* values, size_t n) {
        for (size_t i = 0; i < n; ++i) sum += static_cast<T>(Term::of(values[i], 1));
        return sum;
    }
    static constexpr auto add = for_cpu<loop>;
};

/// The terms of a batch after what the open group has come to, and their sums.
template <class Term, class T, class... V>
void add_up(const GroupSteps& steps, const GroupBounds& groups, T& open, GroupNumbers<T>& sums, const V*... values) {
    // Long groups of floating values by themselves are a chain of additions, which leaves time for the terms.
    if constexpr ((std::is_floating_point_v<V> && ...)) {
        if (steps.plain && groups.n <= steps.n / 32) {
            for (size_t j = 0; j < groups.n; ++j) {
                size_t i = groups.bounds[j];
                T sum = i == 0 ? open : static_cast<T>(Term::of(values[i - 1]..., 1));
                for (++i; i < groups.bounds[j + 1]; ++i) sum += static_cast<T>(Term::of(values[i - 1]..., 1));
                sums.of[j] = sum;
            }
            open = sums.of[groups.n - 1];
            return;
        }
    }
    // Those of integers are added up as they are read.
    if constexpr (std::is_integral_v<T> && sizeof...(V) == 1) {
        if (steps.plain && groups.n <= steps.n / 32) {
            for (size_t j = 0; j < groups.n; ++j) {
                const size_t first = groups.bounds[j], after = groups.bounds[j + 1];
                const size_t i = first == 0 ? 0 : first - 1;
                sums.of[j] = LongSum<Term, T, V...>::add(first == 0 ? open : T{0}, values + i..., after - 1 - i);
            }
            open = sums.of[groups.n - 1];
            return;
        }
    }
    GroupNumbers<T> terms;
    terms.of[0] = open;
    Terms<Term, T, V...>::make(terms.of + 1, steps.run, steps.n, values...);
    if constexpr (std::is_floating_point_v<T>)
        if (steps.any_empty) forget_empty_steps(steps, groups, terms.of);
    add_terms(terms, groups, sums);
    open = sums.of[groups.n - 1];
}

template <class E> struct Weighted {
    QVO_INLINE static auto of(typename E::value v, unsigned n) { return weighted<E>(v, n); }
};
template <class E> struct WeightedDouble {
    QVO_INLINE static double of(typename E::value v, unsigned n) {
        if constexpr (E::is_floating)
            return weighted_double<E>(v, n);
        else
            return unsigned_to_double(static_cast<uint64_t>(weighted<E>(v, n)));
    }
};
template <class E> struct Square {
    QVO_INLINE static double of(typename E::value v, unsigned n) {
        return static_cast<double>(v) * static_cast<double>(v) * static_cast<double>(n);
    }
};
template <class E> struct Product {
    QVO_INLINE static double of(typename E::value v, typename E::value w, unsigned n) {
        return static_cast<double>(v) * static_cast<double>(w) * static_cast<double>(n);
    }
};

template <class T> QVO_INLINE T& accumulator(Context& context) {
    if constexpr (std::is_floating_point_v<T>)
        return context.accumulator.val_double;
    else
        return context.accumulator.val_uint8;
}

template <class E> struct SumLoops {
    using Result = sum_element<E>;
    using T = std::conditional_t<Result::is_floating, double, uint64_t>;

    static void fold(qvo_seq_iterator_h it, const GroupSteps& steps, size_t to) {
        Context& context = state<Context>(it);
        const GroupBounds groups(steps, context.count != 0);
        const StepValues<typename E::value> values(steps, steps.value);
        GroupNumbers<T> sums;
        add_up<Weighted<E>>(steps, groups, accumulator<T>(context), sums, values.get());
        std::memcpy(values_of<T>(it) + to, sums.of, steps.n_ends * sizeof(T));
        context.count = positions_left_open(steps, context.count);
    }
    static void close(qvo_seq_iterator_h it, size_t to) { values_of<T>(it)[to] = accumulator<T>(state<Context>(it)); }
    static constexpr GroupMember member{fold, close};
};

/// The sums of the groups' values, and those of their squares, after what the open group has come to.
template <class E>
[[gnu::noinline]] void add_up_moments(const GroupSteps& steps, const GroupBounds& groups, Context& context,
                                      const typename E::value* values, GroupNumbers<double>& sums,
                                      GroupNumbers<double>& squares) {
    double& open = context.accumulator.val_double;
    if constexpr (E::is_floating)
        if (steps.plain && groups.n > steps.n / 32) {  // terms are the values, so that their squares need not be read
            GroupNumbers<double> terms;
            terms.of[0] = open;
            Terms<WeightedDouble<E>, double, typename E::value>::make(terms.of + 1, steps.run, steps.n, values);
            add_squares(terms, context.norm, groups, sums, squares);
            open = sums.of[groups.n - 1];
            context.norm = squares.of[groups.n - 1];
            return;
        }
    add_up<WeightedDouble<E>>(steps, groups, open, sums, values);
    add_up<Square<E>>(steps, groups, context.norm, squares, values);
}

/// The statistics of floating numbers by their sum, and by that of their squares if they take it.
template <class E, class Statistic> struct MomentLoops {
    static void fold(qvo_seq_iterator_h it, const GroupSteps& steps, size_t to) {
        Context& context = state<Context>(it);
        const GroupBounds groups(steps, context.count != 0);
        const StepValues<typename E::value> values(steps, steps.value);
        GroupNumbers<double> sums, squares;
        GroupNumbers<uint64_t> counts;
        if constexpr (Statistic::takes_squares)
            add_up_moments<E>(steps, groups, context, values.get(), sums, squares);
        else
            add_up<WeightedDouble<E>>(steps, groups, context.accumulator.val_double, sums, values.get());
        count_positions(steps, groups, context.count, counts);
        for (size_t j = 0; j < groups.ended; ++j)
            values_of<double>(it)[to + j] = Statistic::of(sums.of[j], Statistic::takes_squares ? squares.of[j] : 0,
                                                          unsigned_to_double(counts.of[j]));
        context.count = groups.n == groups.ended ? 0 : counts.of[groups.ended];
    }
    static void close(qvo_seq_iterator_h it, size_t to) {
        const Context& context = state<Context>(it);
        values_of<double>(it)[to] =
            Statistic::of(context.accumulator.val_double, context.norm, unsigned_to_double(context.count));
    }
    static constexpr GroupMember member{fold, close};
};

/// Time stamps are averaged as integers.
template <> struct MomentLoops<elem_datetime, Average> {
    static void fold(qvo_seq_iterator_h it, const GroupSteps& steps, size_t to) {
        Context& context = state<Context>(it);
        const GroupBounds groups(steps, context.count != 0);
        const StepValues<uint64_t> values(steps, steps.value);
        GroupNumbers<uint64_t> sums, counts;
        add_up<Weighted<elem_datetime>>(steps, groups, context.accumulator.val_uint8, sums, values.get());
        count_positions(steps, groups, context.count, counts);
        for (size_t j = 0; j < groups.ended; ++j) values_of<uint64_t>(it)[to + j] = sums.of[j] / counts.of[j];
        context.count = groups.n == groups.ended ? 0 : counts.of[groups.ended];
    }
    static void close(qvo_seq_iterator_h it, size_t to) {
        const Context& context = state<Context>(it);
        values_of<uint64_t>(it)[to] = context.accumulator.val_uint8 / context.count;
    }
    static constexpr GroupMember member{fold, close};
};

/// Weighted averages. Deliberately, the sum is divided by the value x positions of the group's last step and not by a
/// sum of weights.
template <class E> struct WeightedLoops {
    using V = typename E::value;
    using Result = sum_element<E>;
    using R = typename Result::value;

    QVO_INLINE static R finish(double norm, R last) {
        if constexpr (Result::is_floating)
            return norm / last;
        else
            return convert<R>(norm / static_cast<double>(static_cast<int64_t>(last)));
    }
    static void fold(qvo_seq_iterator_h it, const GroupSteps& steps, size_t to) {
        Context& context = state<Context>(it);
        const GroupBounds groups(steps, context.count != 0);
        const StepValues<V> values(steps, steps.value), weights(steps, steps.second);
        GroupNumbers<double> norms;
        add_up<Product<E>>(steps, groups, context.norm, norms, values.get(), weights.get());
        R open;
        std::memcpy(&open, &context.accumulator, sizeof open);
        // Term 0 is what was open before the steps.
        const auto term = [&](size_t i) {
            return i == 0 ? open : static_cast<R>(Weighted<E>::of(values.get()[i - 1], steps.run[i - 1]));
        };
        for (size_t j = 0; j < groups.ended; ++j)
            values_of<R>(it)[to + j] = finish(norms.of[j], term(groups.bounds[j + 1] - size_t{1}));
        open = term(steps.n);
        std::memcpy(&context.accumulator, &open, sizeof open);
        context.count = positions_left_open(steps, context.count);
    }
    static void close(qvo_seq_iterator_h it, size_t to) {
        R last;
        std::memcpy(&last, &state<Context>(it).accumulator, sizeof last);
        values_of<R>(it)[to] = finish(state<Context>(it).norm, last);
    }
    static constexpr GroupMember member{fold, close};
};

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

}  // namespace

#define DEFINE_GROUP(name, Element, Result, Loops)                                           \
    extern "C" QVO_API QVO_RET name##_next(qvo_seq_iterator_h iterator) {                    \
        return group_next(iterator, Loops::member, key_in_history(iterator), Where::here()); \
    }                                                                                        \
    extern "C" QVO_API QVO_RET name(qvo_seq_iterator_h result, qvo_seq_iterator_h input,     \
                                    qvo_seq_iterator_h group_by) {                           \
        return construct_group<Element, Result>(result, input, group_by, name##_next);       \
    }

#define STAMP(type, sum, avg)                                                                                          \
    using SumLoops_##type = SumLoops<elem_##type>;                                                                     \
    using AvgLoops_##type = MomentLoops<elem_##type, Average>;                                                         \
    using VarLoops_##type = MomentLoops<elem_##type, Variance>;                                                        \
    using SampleVarLoops_##type = MomentLoops<elem_##type, SampleVariance>;                                            \
    using DevLoops_##type = MomentLoops<elem_##type, Deviation>;                                                       \
    using SampleDevLoops_##type = MomentLoops<elem_##type, SampleDeviation>;                                           \
    using MaxLoops_##type = KeptLoops<Extreme<elem_##type, Greater>>;                                                  \
    using MinLoops_##type = KeptLoops<Extreme<elem_##type, Less>>;                                                     \
    DEFINE_GROUP(qvo_seq_group_agg_max_##type, elem_##type, elem_##type, MaxLoops_##type)                              \
    DEFINE_GROUP(qvo_seq_group_agg_min_##type, elem_##type, elem_##type, MinLoops_##type)                              \
    DEFINE_GROUP(qvo_seq_group_agg_first_##type, elem_##type, elem_##type, KeptLoops<First<elem_##type::bits>>)        \
    DEFINE_GROUP(qvo_seq_group_agg_last_##type, elem_##type, elem_##type, KeptLoops<Last<elem_##type::bits>>)          \
    DEFINE_GROUP(qvo_seq_group_agg_sum_##type, elem_##type, elem_##sum, SumLoops_##type)                               \
    DEFINE_GROUP(qvo_seq_group_agg_avg_##type, elem_##type, elem_##avg, AvgLoops_##type)                               \
    DEFINE_GROUP(qvo_seq_group_agg_var_##type, elem_##type, elem_double, VarLoops_##type)                              \
    DEFINE_GROUP(qvo_seq_group_agg_var_samp_##type, elem_##type, elem_double, SampleVarLoops_##type)                   \
    DEFINE_GROUP(qvo_seq_group_agg_dev_##type, elem_##type, elem_double, DevLoops_##type)                              \
    DEFINE_GROUP(qvo_seq_group_agg_dev_samp_##type, elem_##type, elem_double, SampleDevLoops_##type)                   \
    extern "C" QVO_API QVO_RET qvo_seq_group_agg_wavg_##type##_next(qvo_seq_iterator_h iterator) {                     \
        return group_pair_next(iterator, WeightedLoops<elem_##type>::member, key_in_history(iterator), Where::here()); \
    }                                                                                                                  \
    extern "C" QVO_API QVO_RET qvo_seq_group_agg_wavg_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h left,       \
                                                             qvo_seq_iterator_h right, qvo_seq_iterator_h group_by) {  \
        return construct_weighted<elem_##type, sum_element<elem_##type>>(result, left, right, group_by,                \
                                                                         qvo_seq_group_agg_wavg_##type##_next);        \
    }
QVO_SEQ_FOR_AGGREGATE_TYPES(STAMP)
#undef STAMP
#undef DEFINE_GROUP

}  // namespace qvo
