// Aggregates of one whole sequence: extremes, sum, product, average, variance and deviation.
//
// What a member gathers (its accumulation) is shared with the others that gather the same: avg of double with sum, all
// of var and dev with each other. What it delivers is its finish.
//
// Floating sums are folded element by element in order: their chain of additions sets the pace. Integer sums may be
// taken in any order. Sums in double of 1- to 4-byte integers belong to them as long as they are exact.
#include <algorithm>

#include "aggregate/moments.h"
#include "core/number.h"
#include "core/reduce.h"

namespace qvo {
namespace {

template <class A> struct AggregateState {
    A agg;
    double norm;
    qvo_seq_count_t count;
};

/// value x run as it is formed before it is widened: in 32 bits (signed, but for uint4) for narrow integers, and in
/// the value's own type for the others. The wrapping of int4 before widening is deliberate.
template <class V> QVO_INLINE auto element_term(V v, unsigned run) {
    if constexpr (std::is_floating_point_v<V>)
        return v * static_cast<V>(run);
    else if constexpr (sizeof(V) < sizeof(int32_t))
        return wrapping_mul(static_cast<int32_t>(v), static_cast<int32_t>(run));
    else
        return wrapping_mul(v, static_cast<V>(run));
}

// Integers of up to this many bits: a tile of run x value x value sums up in 64 bits, with room to spare.
inline constexpr unsigned small_bits = 21;

/// Vectorised sums over the integers of a tile.
template <class V> struct IntegerLoops {
    using Term = decltype(element_term(V{}, 1));
    // A tile of 1-byte values sums up in 32 bits, whatever the runs.
    using Lane =
        std::conditional_t<sizeof(V) == 1, int32_t, std::conditional_t<std::is_signed_v<Term>, int64_t, uint64_t>>;

    // Run bytes that grow upwards like the values, so that both are vectors in the same order.
    struct InOrder {
        uint8_t bytes[capacity_of(sizeof(V)) + run_word];
        QVO_INLINE InOrder(const uint8_t* runs, size_t n) { copy_in_order(bytes, runs, n); }
    };

    QVO_INLINE static Lane sum_single(const V* __restrict values, size_t n) {
        modular<Lane> sum = 0;
        for (size_t i = 0; i < n; ++i) sum += static_cast<modular<Lane>>(static_cast<Lane>(values[i]));
        return static_cast<Lane>(sum);
    }
    QVO_INLINE static Lane sum(const V* __restrict values, const uint8_t* __restrict runs, size_t n) {
        const InOrder run(runs, n);
        modular<Lane> sum = 0;
        for (size_t i = 0; i < n; ++i)
            sum += static_cast<modular<Lane>>(static_cast<Lane>(element_term(values[i], run.bytes[i])));
        return static_cast<Lane>(sum);
    }
    /// Whether all magnitudes are up to 2^small_bits.
    QVO_INLINE static bool small(const V* __restrict values, size_t n) {
        using U = std::make_unsigned_t<V>;
        U any = 0;
        for (size_t i = 0; i < n; ++i)
            any |= static_cast<U>(values[i] < 0 ? ~static_cast<U>(values[i]) : static_cast<U>(values[i]));
        return any < uint64_t{1} << small_bits;
    }
    /// Sum of value x run x value, for small values.
    QVO_INLINE static uint64_t squares(const V* __restrict values, const uint8_t* __restrict runs, size_t n) {
        const InOrder run(runs, n);
        int64_t sum = 0;
        for (size_t i = 0; i < n; ++i) {
            const auto v = static_cast<int32_t>(values[i]);
            sum += int64_t{v * int32_t{run.bytes[i]}} * v;
        }
        return static_cast<uint64_t>(sum);
    }
    QVO_INLINE static uint64_t squares_single(const V* __restrict values, size_t n) {
        int64_t sum = 0;
        for (size_t i = 0; i < n; ++i)
            sum += int64_t{static_cast<int32_t>(values[i])} * static_cast<int32_t>(values[i]);
        return static_cast<uint64_t>(sum);
    }
};

// Up to here doubles hold every integer.
inline constexpr double exact_limit = 9007199254740992.0;  // 2^53

template <class V> constexpr bool is_narrow = std::is_integral_v<V> && sizeof(V) <= sizeof(int32_t);

/// True if adding a tile of value x run terms of a narrow type to `sum` one by one would round nowhere on the way.
QVO_INLINE bool sums_exactly(double sum) {
    // 2048 terms below 2^32 in magnitude.
    return std::abs(sum) < exact_limit / 2;
}

template <class V> QVO_INLINE double square(V v, unsigned run) {
    return static_cast<double>(run) * static_cast<double>(v) * static_cast<double>(v);
}

/// Sums of doubles, element by element. The terms are made some elements ahead, in vectors, so that nothing but the
/// additions is on the chain from one element to the next.
template <class V> struct OrderedLoops {
    using State = AggregateState<double>;
    static constexpr size_t ahead = 32;

    static double sum_single(double sum, const V* __restrict values, size_t n) {
        for (size_t i = 0; i < n; ++i) sum += static_cast<double>(values[i]);
        return sum;
    }
    QVO_INLINE static double sum(double sum, const V* __restrict values, const uint8_t* __restrict runs, size_t n) {
        for (; n >= ahead; n -= ahead, values += ahead, runs -= ahead) {
            uint8_t run[ahead];
            double terms[ahead];
            copy_in_order(run, runs, ahead);
            for (size_t k = 0; k < ahead; ++k) terms[k] = static_cast<double>(element_term(values[k], run[k]));
            for (const double term : terms) sum += term;
        }
        for (size_t i = 0; i < n; ++i) sum += static_cast<double>(element_term(values[i], get_run(runs, i)));
        return sum;
    }
    QVO_INLINE static void squares(State& s, const V* __restrict values, const uint8_t* __restrict runs, size_t n) {
        double sum = s.agg, sum_of_squares = s.norm;
        for (; n >= ahead; n -= ahead, values += ahead, runs -= ahead) {
            uint8_t run[ahead];
            double terms[ahead], squares[ahead];
            copy_in_order(run, runs, ahead);
            for (size_t k = 0; k < ahead; ++k) terms[k] = static_cast<double>(element_term(values[k], run[k]));
            for (size_t k = 0; k < ahead; ++k) squares[k] = square(values[k], run[k]);
            for (size_t k = 0; k < ahead; ++k) {
                sum += terms[k];
                sum_of_squares += squares[k];
            }
        }
        for (size_t i = 0; i < n; ++i) {
            sum += static_cast<double>(element_term(values[i], get_run(runs, i)));
            sum_of_squares += square(values[i], get_run(runs, i));
        }
        s.agg = sum;
        s.norm = sum_of_squares;
    }
    static void squares_single(State& s, const V* __restrict values, size_t n) {
        double sum = s.agg, sum_of_squares = s.norm;
        for (size_t i = 0; i < n; ++i) {
            const auto v = static_cast<double>(values[i]);
            sum += v;
            sum_of_squares += v * v;
        }
        s.agg = sum;
        s.norm = sum_of_squares;
    }
};

/// Sum of value x run in A: the members sum and avg.
template <class V, class A> struct Sum {
    using Value = V;
    using State = AggregateState<A>;

    static void start(State& s, V v, unsigned run) {
        s.agg = static_cast<A>(element_term(v, run));
        s.norm = 0;
    }
    static void fold(State& s, const V* values, const uint8_t* runs, size_t n, bool single) {
        if constexpr (std::is_integral_v<A>) {
            s.agg = wrapping_add(s.agg, static_cast<A>(total(values, runs, n, single)));
        } else {
            if constexpr (is_narrow<V>)
                if (sums_exactly(s.agg)) {
                    s.agg += static_cast<A>(total(values, runs, n, single));
                    return;
                }
            s.agg = single ? OrderedLoops<V>::sum_single(s.agg, values, n)
                           : for_cpu<OrderedLoops<V>::sum>(s.agg, values, runs, n);
        }
    }
    static void merge(State& s, const State& other) {
        s.agg = wrapping_add(s.agg, other.agg);
        s.norm += other.norm;
    }

 private:
    static auto total(const V* values, const uint8_t* runs, size_t n, bool single) {
        return single ? for_cpu<IntegerLoops<V>::sum_single, CpuLevel::avx512>(values, n)
                      : for_cpu<IntegerLoops<V>::sum>(values, runs, n);
    }
};

/// Sum of value x run, and of run x value x value, in double: the members var and dev.
template <class V> struct SumAndSquares {
    using Value = V;
    using State = AggregateState<double>;

    static void start(State& s, V v, unsigned run) {
        s.agg = static_cast<double>(element_term(v, run));
        s.norm = square(v, run);
    }
    static void fold(State& s, const V* values, const uint8_t* runs, size_t n, bool single) {
        if constexpr (is_narrow<V>)
            if (fold_exactly(s, values, runs, n, single)) return;
        if (single)
            OrderedLoops<V>::squares_single(s, values, n);
        else
            for_cpu<OrderedLoops<V>::squares>(s, values, runs, n);
    }
    static void merge(State& s, const State& other) {
        s.agg += other.agg;
        s.norm += other.norm;
    }

 private:
    /// Adds the tile in integers, if sums of doubles would have been exact all the way too.
    static bool fold_exactly(State& s, const V* values, const uint8_t* runs, size_t n, bool single) {
        using Loops = IntegerLoops<V>;
        if (!sums_exactly(s.agg)) return false;
        if (sizeof(V) == sizeof(int32_t) && !for_cpu<Loops::small>(values, n)) return false;
        const uint64_t squares =
            single ? for_cpu<Loops::squares_single>(values, n) : for_cpu<Loops::squares>(values, runs, n);
        // Squares only grow, so if their sum is within the limit at the end, it always was.
        if (squares > static_cast<uint64_t>(exact_limit) || !(s.norm <= exact_limit - static_cast<double>(squares)))
            return false;
        s.agg +=
            static_cast<double>(single ? for_cpu<Loops::sum_single>(values, n) : for_cpu<Loops::sum>(values, runs, n));
        s.norm += static_cast<double>(squares);
        return true;
    }
};

/// Product of value to the power of run. Steps are taken in double; integers are converted back after each.
template <class V, class A> struct Product {
    using Value = V;
    using State = AggregateState<A>;

    static void start(State& s, V v, unsigned run) {
        s.agg = convert<A>(power(v, run));
        s.norm = 0;
    }
    static void fold(State& s, const V* values, const uint8_t* runs, size_t n, bool /*single*/) {
        A product = s.agg;
        for (size_t i = 0; i < n; ++i)
            product = convert<A>(static_cast<double>(product) * power(values[i], get_run(runs, i)));
        s.agg = product;
    }
    static void merge(State& s, const State& other) {
        s.agg = convert<A>(static_cast<double>(s.agg) * static_cast<double>(other.agg));
        s.norm += other.norm;
    }

 private:
    static double power(V v, unsigned run) {
        const auto base = static_cast<double>(v);
        return run == 1 ? base : std::pow(base, static_cast<double>(run));
    }
};

/// The first of the values that no other beats; a NaN is beaten by nothing and beats nothing.
template <class V, class Order> struct Extreme {
    using Value = V;
    using State = AggregateState<V>;

    static void start(State& s, V v, unsigned /*run*/) {
        s.agg = v;
        s.norm = 0;
    }
    static void fold(State& s, const V* values, const uint8_t* /*runs*/, size_t n, bool /*single*/) {
        // In any order, the extreme is the same but for its sign if it is 0. (A NaN that came first is never beaten.)
        const V extreme = for_cpu<of>(s.agg, values, n);
        if (!Order::beats(extreme, s.agg)) return;
        s.agg = extreme;
        if constexpr (std::is_floating_point_v<V>)
            if (extreme == 0) s.agg = *std::find(values, values + n, extreme);
    }
    static void merge(State& s, const State& other) {
        if (Order::beats(other.agg, s.agg)) s.agg = other.agg;
        s.norm += other.norm;
    }

 private:
    QVO_INLINE static V of(V start, const V* __restrict values, size_t n) {
        if constexpr (std::is_integral_v<V>) {
            V extreme = start;
            for (size_t i = 0; i < n; ++i) extreme = Order::beats(values[i], extreme) ? values[i] : extreme;
            return extreme;
        } else {
            constexpr size_t lanes = 256 / sizeof(V);  // several chains of comparisons
            V lane[lanes];
            for (size_t k = 0; k < lanes; ++k) lane[k] = start;
            size_t i = 0;
            for (; i + lanes <= n; i += lanes)
                for (size_t k = 0; k < lanes; ++k)
                    lane[k] = Order::beats(values[i + k], lane[k]) ? values[i + k] : lane[k];
            for (size_t k = 0; i < n; ++i, ++k) lane[k] = Order::beats(values[i], lane[k]) ? values[i] : lane[k];
            V extreme = start;
            for (size_t k = 0; k < lanes; ++k) extreme = Order::beats(lane[k], extreme) ? lane[k] : extreme;
            return extreme;
        }
    }
};

/// A member that delivers what it gathers.
template <class Accumulate> struct AsGathered {
    using Accumulation = Accumulate;
    using Result = decltype(Accumulation::State::agg);
    static Result finish(const typename Accumulation::State& s) { return s.agg; }
};

/// A member that delivers a statistic of it: in double, but for averages in 64-bit integers.
template <class Accumulate, class Statistic> struct Derived {
    using Accumulation = Accumulate;
    using Result = decltype(Accumulation::State::agg);
    static Result finish(const typename Accumulation::State& s) {
        if constexpr (std::is_integral_v<Result>)
            return s.agg / s.count;
        else
            return Statistic::of(s.agg, s.norm, static_cast<double>(s.count));
    }
};

template <class E> using Max = AsGathered<Extreme<typename E::value, Greater>>;
template <class E> using Min = AsGathered<Extreme<typename E::value, Less>>;
template <class E, class R> using Summed = AsGathered<Sum<typename E::value, typename R::value>>;
template <class E, class R> using Multiplied = AsGathered<Product<typename E::value, typename R::value>>;
template <class E, class R> using Averaged = Derived<Sum<typename E::value, typename R::value>, Average>;
template <class E, class Statistic> using SpreadOf = Derived<SumAndSquares<typename E::value>, Statistic>;

/// Both extremes at once, without `prepare` and `merge`: two elements, and next_seq_no counts them. Since the
/// smallest value never exceeds the largest one, an element that lowers the one cannot raise the other.
template <class V> struct Extremes {
    using Value = V;
    struct State {
        typename Extreme<V, Less>::State least;
        typename Extreme<V, Greater>::State greatest;
    };
    static void start(State& s, V v, unsigned run) {
        Extreme<V, Less>::start(s.least, v, run);
        Extreme<V, Greater>::start(s.greatest, v, run);
    }
    static void fold(State& s, const V* values, const uint8_t* runs, size_t n, bool single) {
        Extreme<V, Less>::fold(s.least, values, runs, n, single);
        Extreme<V, Greater>::fold(s.greatest, values, runs, n, single);
    }
};

/// Datetimes are compared as integers and delivered as doubles: the conversion keeps their order, and where it makes
/// two of them equal, it makes them the same.
template <class V, class R> QVO_RET min_max_next(qvo_seq_iterator_h it, Where where) {
    if (it->next_seq_no != 0) return QVO_S_CURSOR_END;
    typename Extremes<V>::State s{};
    qvo_seq_count_t count = 0;
    if (const QVO_RET rc = reduce_tiles(it->opd[0], &s, count, fold_tile<Extremes<V>>, where); rc != QVO_S_OK)
        return rc;
    values_of<R>(it)[0] = static_cast<R>(s.least.agg);
    values_of<R>(it)[1] = static_cast<R>(s.greatest.agg);
    TileWriter out(it);
    out.put_equal_runs(2, 1);
    return out.finish_at(2);
}

template <class E> using MinMaxResult = std::conditional_t<std::is_same_v<E, elem_datetime>, elem_double, E>;

/// The public record of a member's context has the layout of its state.
template <class Record, class R> constexpr bool is_state_of() {
    using State = typename R::Accumulation::State;
    return sizeof(Record) == sizeof(State) && offsetof(Record, norm) == offsetof(State, norm) &&
           offsetof(Record, count) == offsetof(State, count) &&
           std::is_same_v<decltype(Record::agg), decltype(State::agg)>;
}

}  // namespace

#define DEFINE(name, Element, Result, ...)                              \
    static_assert(is_state_of<name##_context_t, __VA_ARGS__>(), #name); \
    QVO_DEFINE_REDUCER(name, Element, Result, __VA_ARGS__)

#define STAMP(type, sum, avg)                                                                                    \
    DEFINE(qvo_seq_agg_max_##type, elem_##type, elem_##type, Max<elem_##type>)                                   \
    DEFINE(qvo_seq_agg_min_##type, elem_##type, elem_##type, Min<elem_##type>)                                   \
    DEFINE(qvo_seq_agg_sum_##type, elem_##type, elem_##sum, Summed<elem_##type, elem_##sum>)                     \
    DEFINE(qvo_seq_agg_prd_##type, elem_##type, elem_##sum, Multiplied<elem_##type, elem_##sum>)                 \
    DEFINE(qvo_seq_agg_avg_##type, elem_##type, elem_##avg, Averaged<elem_##type, elem_##avg>)                   \
    DEFINE(qvo_seq_agg_var_##type, elem_##type, elem_double, SpreadOf<elem_##type, Variance>)                    \
    DEFINE(qvo_seq_agg_var_samp_##type, elem_##type, elem_double, SpreadOf<elem_##type, SampleVariance>)         \
    DEFINE(qvo_seq_agg_dev_##type, elem_##type, elem_double, SpreadOf<elem_##type, Deviation>)                   \
    DEFINE(qvo_seq_agg_dev_samp_##type, elem_##type, elem_double, SpreadOf<elem_##type, SampleDeviation>)        \
    extern "C" QVO_API QVO_RET qvo_seq_agg_min_max_##type##_next(qvo_seq_iterator_h iterator) {                  \
        return min_max_next<elem_##type::value, MinMaxResult<elem_##type>::value>(iterator, Where::here());      \
    }                                                                                                            \
    extern "C" QVO_API QVO_RET qvo_seq_agg_min_max_##type(qvo_seq_iterator_h result, qvo_seq_iterator_h input) { \
        return construct_unary<elem_##type, MinMaxResult<elem_##type>>(result, input,                            \
                                                                       qvo_seq_agg_min_max_##type##_next);       \
    }
QVO_SEQ_FOR_AGGREGATE_TYPES(STAMP)
#undef STAMP

}  // namespace qvo
