// Edges are computed as they are defined, never by adding the width up, and a value's bucket is where the edges say it
// is: dividing by the width finds it only nearly.
#include "functions/histogram.h"

#include <cmath>

#include "base/text.h"
#include "evaluate/arguments.h"
#include "evaluate/deliver.h"
#include "evaluate/state.h"
#include "operators/convert.h"

namespace qvo::value {
namespace {

class Histogram final : public Aggregate {
 public:
    void step(Arguments& row) override {
        set_edges(row);
        Plan& plan = row.plan();
        for_each_tile(plan, widened(plan, row.series(0), type_of(Type::double_)),
                      [&](const void* tile, const uint8_t* runs, size_t n) {
                          const double* const values = static_cast<const double*>(tile);
                          for (size_t i = 0; i < n; ++i)
                              if (values[i] == values[i]) counts_[bucket(values[i])] += get_run(runs, i);
                      });
    }
    void finish(Result& result, const Limits&) const override {
        if (counts_.empty()) return result.set_null();
        std::string text = "[";
        for (const uint64_t count : counts_) {
            if (text.size() > 1) text += ',';
            put_natural(text, count);
        }
        result.set_text(text + ']');
    }
    void save(Buffer& to) const override {
        put(to, edges_);
        to.append(counts_.data(), counts_.size() * sizeof counts_[0]);
    }
    void merge(StateReader& in) override {
        const Edges edges = in.take<Edges>();
        if (edges.n == 0) return;
        if (!edges.sound() || in.left() / sizeof(uint64_t) != edges.n + 2) StateReader::damaged();
        if (counts_.empty()) {
            edges_ = edges;
            counts_.resize(edges.n + 2);
        }
        if (!edges_.same(edges)) throw Error(Fault::argument, "argument 1: states of histograms with different edges");
        for (uint64_t& count : counts_) count += in.take<uint64_t>();
    }

 private:
    struct Edges {
        double lo = 0, hi = 0, width = 0;
        uint64_t n = 0;
        bool same(const Edges& o) const { return lo == o.lo && hi == o.hi && n == o.n; }
        bool sound() const {
            return n < uint64_t{1} << 60 && lo < hi && width == (hi - lo) / static_cast<double>(n) &&
                   std::isfinite(width);
        }
    };

    void set_edges(Arguments& row) {
        Edges edges{row.real(1), row.real(2), 0, static_cast<uint64_t>(row.integer(3))};
        edges.width = (edges.hi - edges.lo) / static_cast<double>(edges.n);
        if (!counts_.empty() && edges_.same(edges)) return;
        if (!(edges.lo < edges.hi))
            row.refuse(2, "hi must be above lo, got " + shown(edges.hi) + " and " + shown(edges.lo));
        if (!std::isfinite(edges.hi - edges.lo))
            row.refuse(2, "hi - lo must be finite, got " + shown(edges.hi) + " and " + shown(edges.lo));
        if (!counts_.empty()) row.refuse(1, "lo, hi and n must be the same for all rows");
        row.plan().within_budget(edges.n);
        edges_ = edges;
        counts_.resize(edges.n + 2);
    }
    double edge(uint64_t k) const { return edges_.lo + static_cast<double>(k) * edges_.width; }
    /// 0 below lo, from 1 the buckets, and what is above hi.
    uint64_t bucket(double x) const {
        if (x < edges_.lo) return 0;
        if (x > edges_.hi) return edges_.n + 1;
        const auto last = static_cast<double>(edges_.n - 1);
        const double near = (x - edges_.lo) / edges_.width;
        const auto k = static_cast<uint64_t>(near < last ? near : last);
        if (in_bucket(x, k)) return k + 1;
        // Off by one, or by any number where edges are so close that many are equal: the first edge above.
        uint64_t below = 0, above = edges_.n;
        while (above - below > 1) {
            const uint64_t middle = below + (above - below) / 2;
            (x < edge(middle) ? above : below) = middle;
        }
        return below + 1;
    }
    bool in_bucket(double x, uint64_t k) const {
        return (k == 0 || x >= edge(k)) && (k + 1 == edges_.n || x < edge(k + 1));
    }

    Edges edges_;
    std::vector<uint64_t> counts_;  // below lo, the buckets, above hi
};

}  // namespace

std::unique_ptr<Aggregate> make_histogram(const Function&) { return std::make_unique<Histogram>(); }

}  // namespace qvo::value
