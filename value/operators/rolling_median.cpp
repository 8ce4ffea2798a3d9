// The median of a window. The window is kept as a sorted list of different values, each with the number of positions
// that hold it, in blocks of some dozens; a place in the list is remembered, since the median never moves far.
#include <algorithm>
#include <deque>
#include <memory>

#include "operators/fold.h"
#include "operators/rolling.h"
#include "operators/scan.h"

namespace qvo::value {
namespace {

/// A sorted list of values with weights.
class SortedWeights {
 public:
    uint64_t total() const { return total_; }
    void clear() { *this = SortedWeights(); }

    void add(double value, uint64_t weight) {
        if (blocks_.empty()) {
            blocks_.push_back(std::make_unique<Block>());
            last_.push_back(value);
        }
        size_t b = block_of(value);
        size_t i = blocks_[b]->find(value);
        total_ += weight;
        if (b < at_) before_ += weight;
        blocks_[b]->weight += weight;
        if (i < blocks_[b]->n && blocks_[b]->values[i] == value) {
            blocks_[b]->weights[i] += weight;
            return;
        }
        blocks_[b]->insert(i, value, weight);
        last_[b] = blocks_[b]->values[blocks_[b]->n - 1];
        if (blocks_[b]->n == Block::most) split(b);
    }
    /// The value must be there, with no less weight.
    void remove(double value, uint64_t weight) {
        const size_t b = block_of(value);
        Block& block = *blocks_[b];
        const size_t i = block.find(value);
        total_ -= weight;
        if (b < at_) before_ -= weight;
        block.weight -= weight;
        if ((block.weights[i] -= weight) != 0) return;
        block.erase(i);
        if (block.n != 0)
            last_[b] = block.values[block.n - 1];
        else
            erase(b);
    }

    struct Place {
        double value;
        uint64_t before, weight;  // positions of smaller values, and of this one
        size_t block, index;
    };
    /// The value at an index below the total.
    Place find(uint64_t index) {
        if (at_ == blocks_.size()) before_ -= blocks_[--at_]->weight;
        while (index < before_) before_ -= blocks_[--at_]->weight;
        while (index >= before_ + blocks_[at_]->weight) before_ += blocks_[at_++]->weight;
        const Block& block = *blocks_[at_];
        uint64_t before = before_;
        size_t i = 0;
        while (index >= before + block.weights[i]) before += block.weights[i++];
        return {block.values[i], before, block.weights[i], at_, i};
    }
    double value_behind(const Place& place) const {
        const Block& block = *blocks_[place.block];
        return place.index + 1 < block.n ? block.values[place.index + 1] : blocks_[place.block + 1]->values[0];
    }

 private:
    struct Block {
        static constexpr size_t most = 64;
        size_t n = 0;
        uint64_t weight = 0;
        double values[most];
        uint64_t weights[most];

        size_t find(double value) const {
            return static_cast<size_t>(std::lower_bound(values, values + n, value) - values);
        }
        void insert(size_t i, double value, uint64_t w) {
            std::copy_backward(values + i, values + n, values + n + 1);
            std::copy_backward(weights + i, weights + n, weights + n + 1);
            values[i] = value;
            weights[i] = w;
            ++n;
        }
        void erase(size_t i) {
            std::copy(values + i + 1, values + n, values + i);
            std::copy(weights + i + 1, weights + n, weights + i);
            --n;
        }
    };

    /// The block that holds a value, or would.
    size_t block_of(double value) const {
        const auto found = std::lower_bound(last_.begin(), last_.end(), value);
        return std::min(static_cast<size_t>(found - last_.begin()), last_.size() - 1);
    }
    void split(size_t b) {
        auto upper = std::make_unique<Block>();
        Block& lower = *blocks_[b];
        const size_t half = lower.n / 2;
        std::copy(lower.values + half, lower.values + lower.n, upper->values);
        std::copy(lower.weights + half, lower.weights + lower.n, upper->weights);
        upper->n = lower.n - half;
        lower.n = half;
        for (size_t i = 0; i < upper->n; ++i) upper->weight += upper->weights[i];
        lower.weight -= upper->weight;
        last_.insert(last_.begin() + static_cast<ptrdiff_t>(b), lower.values[half - 1]);
        blocks_.insert(blocks_.begin() + static_cast<ptrdiff_t>(b) + 1, std::move(upper));
        if (b < at_) ++at_;
    }
    void erase(size_t b) {
        blocks_.erase(blocks_.begin() + static_cast<ptrdiff_t>(b));
        last_.erase(last_.begin() + static_cast<ptrdiff_t>(b));
        if (b < at_) --at_;
    }

    std::vector<std::unique_ptr<Block>> blocks_;
    std::vector<double> last_;  // value of each block
    uint64_t total_ = 0;
    size_t at_ = 0;        // the block that was looked at last, or the end
    uint64_t before_ = 0;  // the weight of the blocks before it
};

class Median {
 public:
    using In = double;
    using Out = double;
    static unsigned written_out() { return 0; }

    Median(Plan& plan, Window window)
        : plan_(plan), n_(window.positions), required_(std::max<uint64_t>(window.min_periods, 1)) {}

    void singles(const double* x, size_t n, double* results, uint64_t) {
        for (size_t i = 0; i < n; ++i) take(x[i], 1, results + i, 1, 0);
        plan_.within_budget(window_.size());
    }
    /// Takes positions as long as the median stays.
    Taken take(double x, unsigned run, double* results, size_t, uint64_t) {
        if (!is_present(x)) x = missing;
        const bool full = rows_ == n_;
        if (full && window_.size() == 1 && alike(window_.front().value, x)) {
            results[0] = median();
            return {1, run};
        }
        const double leaving = full ? window_.front().value : missing;
        uint64_t most = full ? std::min<uint64_t>(run, window_.front().run) : std::min<uint64_t>(run, n_ - rows_);
        replace(leaving, x, full, 1);
        results[0] = median();
        most = std::min(most - 1, full ? stays(leaving, x) : 0);
        if (most != 0) replace(leaving, x, full, most);
        return {1, static_cast<unsigned>(most + 1)};
    }

 private:
    struct Run {
        double value;
        uint64_t run;
    };
    static bool alike(double a, double b) { return a == b || (a != a && b != b); }

    void replace(double leaving, double entering, bool full, uint64_t n) {
        if (full) {
            if (leaving == leaving) sorted_.remove(leaving, n);
            if ((window_.front().run -= n) == 0) window_.pop_front();
        } else {
            rows_ += n;
        }
        if (entering == entering) sorted_.add(entering, n);
        if (!window_.empty() && alike(window_.back().value, entering))
            window_.back().run += n;
        else
            window_.push_back({entering, n});
    }
    double median() {
        const uint64_t n = sorted_.total();
        if (n < required_) return missing;
        const SortedWeights::Place place = sorted_.find((n - 1) / 2);
        if (n / 2 < place.before + place.weight) return place.value;
        const double above = sorted_.value_behind(place);
        const double sum = place.value + above;
        return is_present(sum) ? sum / 2 : place.value / 2 + above / 2;
    }
    /// How many more positions may be replaced so with the median staying what it is.
    uint64_t stays(double leaving, double entering) {
        if (alike(leaving, entering)) return n_;
        const uint64_t n = sorted_.total();
        if (leaving != leaving || entering != entering || n < required_) return 0;
        const SortedWeights::Place place = sorted_.find((n - 1) / 2);
        const uint64_t behind = place.before + place.weight;
        if (n / 2 >= behind) return 0;
        if (entering > place.value && leaving <= place.value) return behind - n / 2 - 1;
        if (entering < place.value && leaving >= place.value) return (n - 1) / 2 - place.before;
        return n_;
    }

    Plan& plan_;
    uint64_t n_, required_;
    std::deque<Run> window_;
    uint64_t rows_ = 0;  // positions in the window
    SortedWeights sorted_;
};

}  // namespace

Series rolling_median(Plan& plan, const Series& x, Window window) {
    return scan<Median>(plan, x, type_of(Type::double_), plan, window);
}

}  // namespace qvo::value
