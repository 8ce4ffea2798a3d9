// What fills a gap backwards is known only after it, however long it is: a gap is read over, counted, and written
// once the value after it has come.
#include "operators/gaps.h"

#include <cmath>
#include <limits>

#include "operators/scan.h"

namespace qvo::value {
namespace {

template <class V> class Forward {
 public:
    using In = V;
    using Out = V;
    static unsigned written_out() { return 0; }

    explicit Forward(uint64_t limit) : limit_(limit) {}

    void singles(const V* x, size_t n, V* results, uint64_t) {
        for (size_t i = 0; i < n; ++i) take(x[i], 1, results + i, 1, 0);
    }
    Taken take(V x, unsigned run, V* results, size_t, uint64_t) {
        if (x == x) {
            last_ = results[0] = x;
            left_ = limit_;
            return {1, run};
        }
        results[0] = left_ != 0 ? last_ : x;
        if (left_ == 0) return {1, run};
        const unsigned filled = static_cast<unsigned>(std::min<uint64_t>(run, left_));
        left_ -= filled;
        return {1, filled};
    }

 private:
    uint64_t limit_, left_ = 0;
    V last_ = std::numeric_limits<V>::quiet_NaN();
};

// What a gap is filled with: told how long it is and the values around it, NaN where there is none, a filling says
// which of its positions, counted from 1, is the first that is filled, with what, and if all that follow are alike.
template <class V> struct Level {
    uint64_t limit;
    uint64_t first = 0;
    V value = 0;
    void open(uint64_t length, V, V behind) {
        first = behind == behind ? length - std::min(length, limit) + 1 : length + 1;
        value = behind;
    }
    bool is_level() const { return true; }
    V at(uint64_t) const { return value; }
};
struct Line {
    uint64_t first = 0;
    double before = 0, behind = 0, steps = 0, slope = 0;
    void open(uint64_t length, double value_before, double value_behind) {
        before = value_before;
        behind = value_behind;
        first = before == before && behind == behind ? 1 : length + 1;
        steps = static_cast<double>(length) + 1.0;
        slope = before == behind ? 0.0 : (behind - before) / steps;
    }
    bool is_level() const { return slope == 0; }
    double at(uint64_t k) const {
        if (is_level()) return before;
        const double x = static_cast<double>(k), value = slope * x + before;
        return value == value ? value : slope * (x - steps) + behind;  // from an infinite value
    }
};

template <class V, class Filling> class Gaps final : public Operator {
 public:
    Gaps(const Series& x, Filling filling) : x_(x), filling_(filling) {}

    QVO_RET next(qvo_seq_iterator_h it) override {
        Operand input(x_.it);
        TileWriter out(it, capacity_of(sizeof(V)));
        QVO_RET rc = QVO_S_OK;
        V* const results = values_of<V>(it);
        while (out.room() != 0) {
            if (written_ != length_) {
                write(results, out);
                continue;
            }
            length_ = written_ = 0;
            if (rc = read_gap(input); rc != QVO_S_OK && (rc != QVO_S_CURSOR_END || gap_ == 0)) break;
            if (gap_ != 0)
                close(rc == QVO_S_OK ? values_of<V>(x_.it)[input.index()] : std::numeric_limits<V>::quiet_NaN());
            else
                copy(input, results, out);
        }
        input.store();
        return out.finish(rc == QVO_S_CURSOR_END && out.room() == 0 ? QVO_S_OK : rc);
    }

 private:
    /// Reads over missing values up to the next that is present, or the end.
    QVO_RET read_gap(Operand& input) {
        for (;;) {
            if (const QVO_RET rc = input.refill(Where::here()); rc != QVO_S_OK) return rc;
            plan->poll();
            const V* const x = values_of<V>(x_.it);
            while (!input.used_up() && x[input.index()] != x[input.index()]) {
                gap_ += input.run();
                input.skip(1);
            }
            if (!input.used_up()) return QVO_S_OK;
        }
    }
    void close(V behind) {
        filling_.open(gap_, last_, behind);
        length_ = std::exchange(gap_, 0);
    }
    /// Writes of the gap what there is room for.
    void write(V* results, TileWriter& out) {
        while (written_ != length_ && out.room() != 0) {
            const uint64_t k = written_ + 1;
            const bool missing = k < filling_.first;
            const uint64_t behind = missing ? filling_.first : filling_.is_level() ? length_ + 1 : k + 1;
            const unsigned run = static_cast<unsigned>(std::min<uint64_t>(behind - k, max_run));
            results[out.size()] = missing ? std::numeric_limits<V>::quiet_NaN() : filling_.at(k);
            out.put_run(run);
            written_ += run;
        }
    }
    /// Copies elements up to the next that is missing.
    void copy(Operand& input, V* results, TileWriter& out) {
        const V* const x = values_of<V>(x_.it) + input.index();
        const size_t most = std::min(out.room(), input.elements_left());
        size_t n = 0;
        for (V* const to = results + out.size(); n < most && x[n] == x[n]; ++n) to[n] = x[n];
        last_ = x[n - 1];
        out.put_runs(input.runs(), n);
        input.skip(n);
    }

    Series x_;
    Filling filling_;
    V last_ = std::numeric_limits<V>::quiet_NaN();
    uint64_t gap_ = 0;                   // positions read over
    uint64_t length_ = 0, written_ = 0;  // positions of a gap whose filling is known
};

template <class F> Series of_floating(const Series& x, F f) {
    if (x.type.type == Type::float_) return f(float{});
    if (x.type.type == Type::double_) return f(double{});
    return x;
}

}  // namespace

Series filled_forward(Plan& plan, const Series& x, uint64_t limit) {
    return of_floating(x, [&](auto v) { return scan<Forward<decltype(v)>>(plan, x, x.type, limit); });
}
Series filled_backward(Plan& plan, const Series& x, uint64_t limit) {
    return of_floating(x, [&](auto v) {
        using V = decltype(v);
        return plan.make<Gaps<V, Level<V>>>(x.type, x.length, x, Level<V>{limit});
    });
}
Series interpolated(Plan& plan, const Series& x) { return plan.make<Gaps<double, Line>>(x.type, x.length, x, Line{}); }

}  // namespace qvo::value
