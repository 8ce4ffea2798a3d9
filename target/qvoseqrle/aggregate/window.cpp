// Aggregates of the last `interval` values at every position.
//
// The slot of the history that takes a new value is fixed for a whole call of `next`: within a call each value takes
// the place of the one before it, and only from call to call the window slides. That is deliberate. So is the divisor,
// which is `interval` from the first value on.
#include <limits>

#include "aggregate/moments.h"
#include "aggregate/running.h"
#include "core/number.h"

namespace qvo {
namespace {

using Context = qvo_seq_agg_context_t;

/// What a loop works on: the values of this call, their results, and the slot of the history that they pass through.
struct Call {
    Context& context;
    const void* values;
    void* results;
    size_t n;
    size_t slot;
    uint64_t position;  // of the first value
};
using Loop = void (*)(const Call& call);

QVO_RET window_next(qvo_seq_iterator_h it, size_t width, Loop loop, Where where) {
    auto& context = state<Context>(it);
    const uint64_t position = it->next_seq_no;
    const size_t slot = remainder(position, context.interval);  // an interval of 0 faults here
    Positions values;
    return run_positions(it, values, width, Counted::delivered, where, [&](size_t n) {
        loop({context, values, values_of<uint8_t>(it), n, slot, position});
    });
}

void clear(Context& context, size_t width) {
    std::memset(&context.accumulator, 0, sizeof(uint64_t));
    context.norm = 0;
    std::memset(&context.history, 0, context.interval * width);
}

QVO_RET window_reset(qvo_seq_iterator_h it, size_t width) {
    clear(state<Context>(it), width);
    return qvo_seq_reset_unary_iterator(it);
}

QVO_RET construct_window(qvo_seq_iterator_h result, qvo_seq_iterator_h input, qvo_size_t interval, ElementLayout from,
                         ElementLayout to, qvo_seq_iterator_next_t next, qvo_seq_iterator_reset_t reset) {
    if (!has_type(input, from.type)) return QVO_E_ILLEGAL_TYPE;
    if (const QVO_RET rc = bind({input}); rc != QVO_S_OK) return rc;
    if (interval > sizeof(Context::history) / from.width) return QVO_E_ILLEGAL_PARAM;
    fill_result(result, to, {input}, next, reset);
    auto& context = state<Context>(result);
    context.interval = interval;
    clear(context, from.width);
    return QVO_S_OK;
}

/// The history as values of V.
template <class V> class History {
 public:
    QVO_INLINE explicit History(const Call& call)
        : bytes_(reinterpret_cast<uint8_t*>(&call.context.history)), size_(call.context.interval) {}
    QVO_INLINE size_t size() const { return size_; }
    QVO_INLINE const V* values() const { return reinterpret_cast<const V*>(bytes_); }
    QVO_INLINE V get(size_t slot) const {
        V v;
        std::memcpy(&v, bytes_ + slot * sizeof v, sizeof v);
        return v;
    }
    QVO_INLINE void set(size_t slot, V v) const { std::memcpy(bytes_ + slot * sizeof v, &v, sizeof v); }

 private:
    uint8_t* bytes_;
    size_t size_;
};

struct AsIs {
    static constexpr bool squares = false;
    template <class A> QVO_INLINE static A of(A sum, double, uint64_t) { return sum; }
};
/// A formula of moments.h over double sums; n is the interval.
template <class Formula, bool Squares> struct WindowStatistic {
    static constexpr bool squares = Squares;
    QVO_INLINE static double of(double sum, double norm, uint64_t n) {
        return Formula::of(sum, norm, static_cast<double>(n));
    }
};
using WindowAverage = WindowStatistic<Average, false>;
// These divide by 0 at an interval of 1, deliberately: there is no case for a single value.
using WindowVariance = WindowStatistic<Variance, true>;
using WindowSampleVariance = WindowStatistic<Sample<Variance>, true>;
using WindowDeviation = WindowStatistic<Deviation, true>;
using WindowSampleDeviation = WindowStatistic<Sample<Deviation>, true>;

// Time stamps are summed in integers where the result is a time stamp: also the variance, but not its sample form.
struct DatetimeAverage {
    static constexpr bool squares = false;
    QVO_INLINE static uint64_t of(uint64_t sum, double, uint64_t n) { return sum / n; }
};
struct DatetimeVariance {
    static constexpr bool squares = true;
    QVO_INLINE static uint64_t of(uint64_t sum, double norm, uint64_t n) {
        return convert<uint64_t>((norm - static_cast<double>(sum * sum / n)) / static_cast<double>(n));
    }
};

/// Sums of the window, in A: taking the old value out and the new one in leaves what the rest of the window adds up to
/// plus the new value. That is so to the bit where no addition rounds.
template <class V, class A>
inline constexpr bool adds_exactly = std::is_integral_v<A> || (std::is_integral_v<V> && sizeof(V) <= sizeof(int32_t));

template <class V, class A, class Finish> struct WindowSums {
    using R = decltype(Finish::of(A{}, 0.0, 1));

    QVO_INLINE static void exact(R* __restrict out, const V* __restrict values, size_t n, A rest, uint64_t interval) {
        for (size_t i = 0; i < n; ++i)
            out[i] = Finish::of(wrapping_add(rest, static_cast<A>(values[i])), 0.0, interval);
    }

    static void run(const Call& call) {
        const History<V> history(call);
        const V* values = static_cast<const V*>(call.values);
        R* out = static_cast<R*>(call.results);
        A sum = load_accumulator<A>(call.context);
        V old = history.get(call.slot);
        if constexpr (adds_exactly<V, A> && !Finish::squares) {
            const A rest = wrapping_sub(sum, static_cast<A>(old));
            for_cpu<exact>(out, values, call.n, rest, history.size());
            old = values[call.n - 1];
            sum = wrapping_add(rest, static_cast<A>(old));
        } else {
            double norm = call.context.norm;
            for (size_t i = 0; i < call.n; ++i) {
                const V v = values[i];
                sum = wrapping_sub(sum, static_cast<A>(old));
                sum = wrapping_add(sum, static_cast<A>(v));
                if constexpr (Finish::squares) {
                    norm -= static_cast<double>(old) * static_cast<double>(old);
                    norm += static_cast<double>(v) * static_cast<double>(v);
                }
                old = v;
                out[i] = Finish::of(sum, norm, history.size());
            }
            if constexpr (Finish::squares) call.context.norm = norm;
        }
        history.set(call.slot, old);
        store_accumulator(call.context, sum);
    }
};

// A search of the history pays from as many values of a call as this on.
constexpr size_t fewest_searched = 16;

/// The extreme of the window. Within a call all values pass through one slot, so that the others have an extreme of
/// their own, `rest`, and each result is the value or that.
template <class V, class Order> struct WindowExtreme {
    static void run(const Call& call) {
        const History<V> history(call);
        const V* values = static_cast<const V*>(call.values);
        V* out = static_cast<V*>(call.results);
        if (call.n < fewest_searched) return run_in_steps(call);
        const V rest = extreme_of_others(history, call.slot);
        if (!follows_values(call, history, rest)) return run_in_steps(call);
        for_cpu<beat>(out, values, call.n, rest);
        history.set(call.slot, values[call.n - 1]);
        store_accumulator(call.context, out[call.n - 1]);
    }

 private:
    using Bits = std::conditional_t<sizeof(V) == sizeof(uint64_t), uint64_t, uint32_t>;

    /// The extreme of all slots but one; without others, the value that any other beats or is.
    static V extreme_of_others(const History<V>& history, size_t slot) {
        using Limits = std::numeric_limits<V>;
        V rest = Limits::has_infinity ? Limits::infinity() : Limits::max();
        if constexpr (std::is_same_v<Order, Greater>) rest = Limits::has_infinity ? -rest : Limits::lowest();
        for (size_t k = 0; k < history.size(); ++k)
            if (k != slot) rest = Order::apply(rest, history.get(k));
        return rest;
    }
    /// Whether that is so to the bit: the accumulator is the extreme of the history, and neither there nor among the
    /// values is a NaN, or a zero of the other sign where the extreme of the others is one.
    static bool follows_values(const Call& call, const History<V>& history, V rest) {
        const V extreme = load_accumulator<V>(call.context), expected = Order::apply(rest, history.get(call.slot));
        if (std::memcmp(&extreme, &expected, sizeof(V)) != 0) return false;
        if constexpr (std::is_floating_point_v<V>) {
            return !for_cpu<has_ambiguous>(history.values(), history.size(), rest) &&
                   !for_cpu<has_ambiguous>(static_cast<const V*>(call.values), call.n, rest);
        }
        return true;
    }
    QVO_INLINE static bool has_ambiguous(const V* values, size_t n, V rest) {
        const auto bits = std::bit_cast<Bits>(rest);
        Bits any = 0;
        for (size_t i = 0; i < n; ++i) {
            const V v = values[i];
            any |= static_cast<Bits>(v != v) | (v == rest ? std::bit_cast<Bits>(v) ^ bits : Bits{0});
        }
        return any != 0;
    }
    QVO_INLINE static void beat(V* __restrict out, const V* __restrict values, size_t n, V rest) {
        for (size_t i = 0; i < n; ++i) out[i] = Order::apply(rest, values[i]);
    }

    /// Value by value, searching again when the one that leaves was the extreme.
    static void run_in_steps(const Call& call) {
        const History<V> history(call);
        const V* values = static_cast<const V*>(call.values);
        V* out = static_cast<V*>(call.results);
        V extreme = load_accumulator<V>(call.context);
        V old = history.get(call.slot);
        for (size_t i = 0; i < call.n; ++i) {
            const V v = values[i];
            if (Order::beats(v, extreme)) {
                extreme = v;
            } else if (extreme == old) {
                history.set(call.slot, v);
                extreme = history.get(0);
                for (size_t k = 1; k < history.size(); ++k)
                    if (Order::beats(history.get(k), extreme)) extreme = history.get(k);
            }
            out[i] = extreme;
            old = v;
        }
        history.set(call.slot, old);
        store_accumulator(call.context, extreme);
    }
};

/// Exponential smoothing. In the first call every value is its own result, deliberately.
template <class V> struct Ema {
    static void run(const Call& call) {
        const V* values = static_cast<const V*>(call.values);
        double* out = static_cast<double*>(call.results);
        const double alpha = 2.0 / (static_cast<double>(call.context.interval) + 1);
        double smoothed = load_accumulator<double>(call.context);
        for (size_t i = 0; i < call.n; ++i) {
            const auto v = static_cast<double>(values[i]);
            smoothed = call.position == 0 ? v : (1.0 - alpha) * smoothed + alpha * v;
            out[i] = smoothed;
        }
        store_accumulator(call.context, smoothed);
    }
};

/// Smoothing with a weight that grows from call to call, up to the interval.
template <class V> struct Atr {
    static void run(const Call& call) {
        const V* values = static_cast<const V*>(call.values);
        double* out = static_cast<double*>(call.results);
        const uint64_t interval = call.context.interval;
        const auto k = static_cast<double>(call.position < interval ? call.position + 1 : interval);
        double smoothed = load_accumulator<double>(call.context);
        for (size_t i = 0; i < call.n; ++i) {
            smoothed = (smoothed * (k - 1) + static_cast<double>(values[i])) / k;
            out[i] = smoothed;
        }
        store_accumulator(call.context, smoothed);
    }
};

template <class E> inline constexpr bool is_datetime = std::is_same_v<E, elem_datetime>;
template <class E>
using AverageOf = std::conditional_t<is_datetime<E>, WindowSums<qvo_datetime, uint64_t, DatetimeAverage>,
                                     WindowSums<typename E::value, double, WindowAverage>>;
template <class E>
using VarianceOf = std::conditional_t<is_datetime<E>, WindowSums<qvo_datetime, uint64_t, DatetimeVariance>,
                                      WindowSums<typename E::value, double, WindowVariance>>;
template <class E, class Finish> using WindowSpread = WindowSums<typename E::value, double, Finish>;

}  // namespace

#define DEFINE(name, Element, Result, ...)                                                                      \
    extern "C" QVO_API QVO_RET name##_next(qvo_seq_iterator_h iterator) {                                       \
        return window_next(iterator, Element::width, __VA_ARGS__::run, Where::here());                          \
    }                                                                                                           \
    extern "C" QVO_API QVO_RET name##_reset(qvo_seq_iterator_h iterator) {                                      \
        return window_reset(iterator, Element::width);                                                          \
    }                                                                                                           \
    extern "C" QVO_API QVO_RET name(qvo_seq_iterator_h result, qvo_seq_iterator_h input, qvo_size_t interval) { \
        return construct_window(result, input, interval, layout_of<Element>, layout_of<Result>, name##_next,    \
                                name##_reset);                                                                  \
    }
#define STAMP(type, sum, avg)                                                                                   \
    DEFINE(qvo_seq_window_agg_sum_##type, elem_##type, elem_##sum, WindowSums<qvo_##type, qvo_##sum, AsIs>)     \
    DEFINE(qvo_seq_window_agg_avg_##type, elem_##type, elem_##avg, AverageOf<elem_##type>)                      \
    DEFINE(qvo_seq_window_agg_min_##type, elem_##type, elem_##type, WindowExtreme<qvo_##type, Less>)            \
    DEFINE(qvo_seq_window_agg_max_##type, elem_##type, elem_##type, WindowExtreme<qvo_##type, Greater>)         \
    DEFINE(qvo_seq_window_agg_var_##type, elem_##type, elem_##avg, VarianceOf<elem_##type>)                     \
    DEFINE(qvo_seq_window_agg_var_samp_##type, elem_##type, elem_double,                                        \
           WindowSpread<elem_##type, WindowSampleVariance>)                                                     \
    DEFINE(qvo_seq_window_agg_dev_##type, elem_##type, elem_double, WindowSpread<elem_##type, WindowDeviation>) \
    DEFINE(qvo_seq_window_agg_dev_samp_##type, elem_##type, elem_double,                                        \
           WindowSpread<elem_##type, WindowSampleDeviation>)                                                    \
    DEFINE(qvo_seq_window_agg_ema_##type, elem_##type, elem_double, Ema<qvo_##type>)                            \
    DEFINE(qvo_seq_window_agg_atr_##type, elem_##type, elem_double, Atr<qvo_##type>)
QVO_SEQ_FOR_AGGREGATE_TYPES(STAMP)
#undef STAMP
#undef DEFINE

}  // namespace qvo
