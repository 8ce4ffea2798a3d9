// A bucket without a value waits until it is known what comes after it: then the gap is handed out, as elements with
// runs where they are equal.
#include "operators/resample.h"

#include <cmath>

#include "evaluate/source.h"
#include "operators/buckets.h"
#include "operators/convert.h"
#include "operators/extremes.h"
#include "operators/sums.h"

namespace qvo::value {
namespace {

// ---- What becomes of the rows of a bucket: add() for all elements, then put(), which is false if nothing is present

/// Fewer elements are added one by one.
constexpr size_t few = 16;

struct RealTotal {
    using In = double;
    DoubleSum sum;
    uint64_t n = 0;
    void add(const double* values, const uint8_t* runs, size_t count) {
        if (count >= few) {
            const Summed all = sum_values(values, runs, count);
            sum.add(all.sum);
            n += all.present;
            return;
        }
        for (size_t i = 0; i < count; ++i)
            if (values[i] == values[i]) {
                sum.add(values[i], get_run(runs, i));
                n += get_run(runs, i);
            }
    }
    double total(uint64_t) const { return sum.total(); }
    double mean() const { return sum.total() / static_cast<double>(n); }
};

/// Of int64_t, or uint64_t in its full range.
template <class V> struct IntegerTotal {
    using In = V;
    int128 sum = 0;
    uint64_t n = 0;
    void add(const V* values, const uint8_t* runs, size_t count) {
        if (std::is_signed_v<V> && count >= few) {
            sum += sum_values(reinterpret_cast<const int64_t*>(values), runs, count);
            n += sum_runs(runs, count);
            return;
        }
        for (size_t i = 0; i < count; ++i) {
            sum += static_cast<int128>(values[i]) * get_run(runs, i);
            n += get_run(runs, i);
        }
    }
    int64_t total(uint64_t position) const {
        if (sum != static_cast<int64_t>(sum))
            throw Error(Fault::overflow, "the sum does not fit int8 at position " + std::to_string(position));
        return static_cast<int64_t>(sum);
    }
    double mean() const { return static_cast<double>(sum) / static_cast<double>(n); }
};

template <class Total> struct Sum {
    using In = typename Total::In;
    using Out = std::conditional_t<std::is_floating_point_v<In>, double, int64_t>;
    Total total;
    void add(const In* values, const uint8_t* runs, size_t n) { total.add(values, runs, n); }
    bool put(Out& to, uint64_t position) const {
        if (total.n != 0) to = total.total(position);
        return total.n != 0;
    }
};
template <class Total> struct Mean {
    using In = typename Total::In;
    using Out = double;
    Total total;
    void add(const In* values, const uint8_t* runs, size_t n) { total.add(values, runs, n); }
    bool put(double& to, uint64_t) const {
        to = total.mean();
        return total.n != 0;
    }
};

template <class V, class Better> struct Extreme {
    using In = V;
    using Out = V;
    V best = Better::template worst<V>();
    bool any = false;
    void add(const V* values, const uint8_t*, size_t n) {
        best = for_cpu<Best<V, Better>::of>(values, n, best);
        for (size_t i = 0; !any && i < n; ++i) any = values[i] == values[i];
    }
    bool put(V& to, uint64_t) const {
        to = best;
        return any;
    }
};

template <class V, bool last> struct AtEnd {
    using In = V;
    using Out = V;
    V value{};
    bool any = false;
    void add(const V* values, const uint8_t*, size_t n) {
        if (any && !last) return;
        for (size_t i = 0; i < n; ++i) {
            const V v = values[last ? n - 1 - i : i];
            if (v != v) continue;
            value = v;
            any = true;
            return;
        }
    }
    bool put(V& to, uint64_t) const {
        to = value;
        return any;
    }
};

/// Never without a value.
template <class V> struct Count {
    using In = V;
    using Out = int64_t;
    uint64_t n = 0;
    void add(const V* values, const uint8_t* runs, size_t count) {
        n += sum_runs(runs, count);
        if constexpr (std::is_floating_point_v<V>)
            for (size_t i = 0; i < count; ++i) n -= values[i] == values[i] ? 0 : get_run(runs, i);
    }
    bool put(int64_t& to, uint64_t) const {
        to = static_cast<int64_t>(n);
        return true;
    }
};

// ---- The walk --------------------------------------------------------------------------------------------------

template <class Measure> class Resample final : public Operator {
    using In = typename Measure::In;
    using Out = typename Measure::Out;
    static constexpr bool counts = std::is_same_v<Measure, Count<In>>;

 public:
    Resample(Plan& to, const Series& t, const Series& x, Width width, Fill fill, std::string_view x_type)
        : buckets_(to, t, width), x_(to, x), fill_(fill), x_type_(x_type) {}

    QVO_RET next(qvo_seq_iterator_h it) override {
        TileWriter out(it, capacity_of(sizeof(Out)));
        Out* const values = values_of<Out>(it);
        while (out.room() != 0) {
            if (filling_ != 0) {
                put_filler(values, out);
            } else if (waiting_) {
                values[out.size()] = value_;
                out.put_run(1);
                previous_ = value_;
                has_previous_ = true;
                waiting_ = false;
            } else if (done_) {
                break;
            } else {
                step(it->next_seq_no + out.positions());
            }
        }
        return out.finish(out.room() == 0 ? QVO_S_OK : QVO_S_CURSOR_END);
    }

 private:
    /// Reads a bucket. It waits to be handed out, after the gap before it, or belongs to the gap itself.
    void step(uint64_t position) {
        done_ = !buckets_.next();
        if (done_) return fill_gap(position);
        if (fill_ != Fill::none) gap_ += buckets_.gap();
        Measure measure;
        while (const unsigned rows = buckets_.rows())
            if (!x_.read(rows, [&](const uint8_t* values, const uint8_t* runs, size_t n) {
                    measure.add(reinterpret_cast<const In*>(values), runs, n);
                })) {
                done_ = true;  // x is shorter: whoever reads this looks at the lengths
                return;
            }
        waiting_ = measure.put(value_, position + gap_);
        if (waiting_)
            fill_gap(position);
        else
            ++gap_;
    }

    void fill_gap(uint64_t position) {
        if (gap_ == 0) return;
        plan->within_budget(position + gap_);
        if (!std::is_floating_point_v<In> && !counts)
            throw Error(Fault::argument, "the bucket at position " + std::to_string(position) +
                                             " is empty, and x is of " + x_type_ +
                                             ", which has no missing values; float and double have (cast converts)");
        filling_ = std::exchange(gap_, 0);
        steps_ = static_cast<double>(filling_ + 1);
    }

    /// Hands out the leading part of the gap.
    void put_filler(Out* values, TileWriter& out) {
        if constexpr (std::is_floating_point_v<Out>)
            if (fill_ == Fill::linear && has_previous_ && waiting_) {
                const double i = steps_ - static_cast<double>(filling_--);
                values[out.size()] = previous_ + (value_ - previous_) / steps_ * i;
                return out.put_run(1);
            }
        const auto run = static_cast<unsigned>(std::min<uint64_t>(filling_, max_run));
        filling_ -= run;
        values[out.size()] = fill_ == Fill::previous && has_previous_ && !counts ? previous_ : empty();
        out.put_run(run);
    }
    static Out empty() {
        if constexpr (std::is_floating_point_v<Out>) return std::numeric_limits<Out>::quiet_NaN();
        return Out{};
    }

    Buckets buckets_;
    ByPositions x_;
    Fill fill_;
    std::string x_type_;
    uint64_t gap_ = 0;      // buckets without a value before the next value
    uint64_t filling_ = 0;  // those that are being handed out
    double steps_ = 0;      // from the value before the gap to the one after it
    Out value_{}, previous_{};
    bool waiting_ = false, has_previous_ = false, done_ = false;
};

/// Text: of equal width, compared by its bytes.
template <How how> class ResampleText final : public Operator {
 public:
    ResampleText(Plan& to, const Series& t, const Series& x, Width width, Fill fill)
        : buckets_(to, t, width), x_(to, x), width_(x.type.width), type_(name_of(x.type)), fill_(fill) {}

    QVO_RET next(qvo_seq_iterator_h it) override {
        TileWriter out(it, capacity_of(width_));
        while (out.room() != 0 && !done_) {
            done_ = !buckets_.next();
            if (done_) break;
            if (fill_ != Fill::none && buckets_.gap() != 0) fail(it->next_seq_no + out.positions());
            bool any = false;
            while (const unsigned rows = buckets_.rows())
                done_ |= !x_.read(rows, [&](const uint8_t* values, const uint8_t*, size_t n) {
                    for (size_t i = 0; i < n; ++i, values += width_)
                        if (!any || replaces(std::memcmp(values, text_, width_))) {
                            std::memcpy(text_, values, width_);
                            any = true;
                        }
                });
            if (done_) break;
            std::memcpy(values_of<uint8_t>(it) + out.size() * width_, text_, width_);
            out.put_run(1);
        }
        return out.finish(out.room() == 0 ? QVO_S_OK : QVO_S_CURSOR_END);
    }

 private:
    static bool replaces(int order) {
        return how == How::last || (how == How::min && order < 0) || (how == How::max && order > 0);
    }
    [[noreturn]] void fail(uint64_t position) const {
        throw Error(Fault::argument, "the bucket at position " + std::to_string(position) + " is empty, and x is of " +
                                         type_ +
                                         ", which has no missing values; float and double have (cast converts)");
    }
    Buckets buckets_;
    ByPositions x_;
    size_t width_;
    std::string type_;
    Fill fill_;
    uint8_t text_[max_char] = {};
    bool done_ = false;
};

class ResampleTime final : public Operator {
 public:
    ResampleTime(Plan& to, const Series& t, Width width, bool all) : buckets_(to, t, width), width_(width), all_(all) {}

    QVO_RET next(qvo_seq_iterator_h it) override {
        TileWriter out(it, capacity_of(sizeof(int64_t)));
        while (out.room() != 0 && !done_) {
            if (gap_ != 0) {
                start_ = width_.next(start_);
                --gap_;
            } else if (waiting_) {
                start_ = buckets_.start();
                waiting_ = false;
            } else {
                step(it->next_seq_no + out.positions());
                continue;
            }
            values_of<int64_t>(it)[out.size()] = start_;
            out.put_run(1);
        }
        return out.finish(out.room() == 0 ? QVO_S_OK : QVO_S_CURSOR_END);
    }

 private:
    void step(uint64_t position) {
        waiting_ = buckets_.next();
        done_ = !waiting_;
        if (done_) return;
        while (buckets_.rows() != 0) {}
        gap_ = all_ ? buckets_.gap() : 0;
        plan->within_budget(position + gap_);
    }
    Buckets buckets_;
    Width width_;
    bool all_;
    int64_t start_ = 0;
    uint64_t gap_ = 0;
    bool waiting_ = false, done_ = false;
};

/// Brings x to one of the types in which buckets are computed, and the result back to that of x.
template <class F> Series computed(Plan& plan, const Series& x, F f) {
    if (is_floating(x.type.type)) return f(widened(plan, x, type_of(Type::double_)), double{});
    if (x.type.type == Type::uint8) return f(x, uint64_t{});
    if (x.type.type == Type::timestamp) return f(x, int64_t{});
    return f(widened(plan, x, type_of(Type::int8)), int64_t{});
}

template <class V> using Total = std::conditional_t<std::is_floating_point_v<V>, RealTotal, IntegerTotal<V>>;

Series resampled_text(Plan& plan, const Series& t, const Series& x, Width width, How how, Fill fill) {
    switch (how) {
        case How::min:
            return plan.make<ResampleText<How::min>>(x.type, std::nullopt, plan, t, x, width, fill);
        case How::max:
            return plan.make<ResampleText<How::max>>(x.type, std::nullopt, plan, t, x, width, fill);
        case How::first:
            return plan.make<ResampleText<How::first>>(x.type, std::nullopt, plan, t, x, width, fill);
        case How::last:
            return plan.make<ResampleText<How::last>>(x.type, std::nullopt, plan, t, x, width, fill);
        default:
            return plan.make<Resample<Count<uint8_t>>>(type_of(Type::int8), std::nullopt, plan, t, x, width, fill, "");
    }
}

Series resampled(Plan& plan, const Series& t, const Series& x, Width width, How how, Fill fill) {
    if (x.type.type == Type::char_) return resampled_text(plan, t, x, width, how, fill);
    const std::string x_type = name_of(x.type);
    return computed(plan, x, [&](const Series& wide, auto kind) {
        using V = decltype(kind);
        const auto make = [&]<class Measure>(ValueType type, Measure) {
            return plan.make<Resample<Measure>>(type, std::nullopt, plan, t, wide, width, fill, x_type);
        };
        switch (how) {
            case How::sum:
                return make(type_of(std::is_floating_point_v<V> ? Type::double_ : Type::int8), Sum<Total<V>>{});
            case How::mean:
                return make(type_of(Type::double_), Mean<Total<V>>{});
            case How::count:
                return make(type_of(Type::int8), Count<V>{});
            case How::min:
                return cast(plan, make(wide.type, Extreme<V, Smaller>{}), x.type);
            case How::max:
                return cast(plan, make(wide.type, Extreme<V, Larger>{}), x.type);
            case How::first:
                return cast(plan, make(wide.type, AtEnd<V, false>{}), x.type);
            case How::last:
                break;
        }
        return cast(plan, make(wide.type, AtEnd<V, true>{}), x.type);
    });
}

}  // namespace

Series resample(Plan& plan, const Series& t, const Series& x, Width width, How how, Fill fill) {
    const Series both[] = {t, x};
    common_length(both);
    return with_equal_lengths(plan, resampled(plan, t, x, width, how, fill), both);
}

Series resample_time(Plan& plan, const Series& t, Width width, bool all) {
    return plan.make<ResampleTime>(type_of(Type::timestamp), std::nullopt, plan, t, width, all);
}

}  // namespace qvo::value
