#include <functional>
#include "support.h"
namespace qvo::bench {
namespace {
using Constructor = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h, qvo_seq_iterator_h);

template <class V>
void tiles(benchmark::State& state, Constructor make, unsigned a0, unsigned a1, unsigned b0, unsigned b1) {
    const auto ca = random_column<V>(capacity<V>(), a0, a1, 1), cb = random_column<V>(capacity<V>(), b0, b1, 2);
    TileSource<V> a(ca), b(cb);
    qvo_seq_iterator_t it{};
    make(&it, a.get(), b.get());
    size_t n = 0;
    for (auto _ : state) {
        it.next(&it);
        n += it.tile_size;
        benchmark::DoNotOptimize(it.tile);
    }
    state.counters["elems/s"] = benchmark::Counter(static_cast<double>(n), benchmark::Counter::kIsRate);
    state.counters["pos/s"] = benchmark::Counter(static_cast<double>(it.next_seq_no), benchmark::Counter::kIsRate);
}
template <class V, class R, class Op> void flat(benchmark::State& state, Op op) {
    const auto a = random_column<V>(capacity<V>(), 1, 1, 1), b = random_column<V>(capacity<V>(), 1, 1, 2);
    std::vector<R> out(a.values.size());
    size_t n = 0;
    const V* __restrict pa = a.values.data();
    const V* __restrict pb = b.values.data();
    for (auto _ : state) {
        R* __restrict o = out.data();
        for (size_t i = 0; i < out.size(); ++i) o[i] = static_cast<R>(op(pa[i], pb[i]));
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
        n += out.size();
    }
    state.counters["elems/s"] = benchmark::Counter(static_cast<double>(n), benchmark::Counter::kIsRate);
}
template <class V, class R, class Op> void family(const char* name, Constructor make, Op op) {
    auto reg = [&](const char* c, auto f) { benchmark::RegisterBenchmark((std::string(name) + "/" + c).c_str(), f); };
    reg("flat", [=](benchmark::State& s) { flat<V, R>(s, op); });
    reg("ones", [=](benchmark::State& s) { tiles<V>(s, make, 1, 1, 1, 1); });
    reg("const", [=](benchmark::State& s) { tiles<V>(s, make, 1, 1, 255, 255); });
    reg("const_l", [=](benchmark::State& s) { tiles<V>(s, make, 255, 255, 1, 1); });
    reg("same255", [=](benchmark::State& s) { tiles<V>(s, make, 255, 255, 255, 255); });
    reg("short_const", [=](benchmark::State& s) { tiles<V>(s, make, 1, 8, 255, 255); });
    reg("short", [=](benchmark::State& s) { tiles<V>(s, make, 1, 8, 1, 8); });
    reg("cross", [=](benchmark::State& s) { tiles<V>(s, make, 3, 3, 4, 4); });
    reg("mean100", [=](benchmark::State& s) { tiles<V>(s, make, 50, 150, 50, 150); });
}
const bool registered = [] {
    family<int8_t, int8_t>("add_int1", qvo_seq_add_int1, std::plus<>{});
    family<int32_t, int32_t>("add_int4", qvo_seq_add_int4, std::plus<>{});
    family<double, double>("add_double", qvo_seq_add_double, std::plus<>{});
    family<int8_t, uint8_t>("gt_int1", qvo_seq_gt_int1, std::greater<>{});
    family<int32_t, uint8_t>("gt_int4", qvo_seq_gt_int4, std::greater<>{});
    family<double, uint8_t>("gt_double", qvo_seq_gt_double, std::greater<>{});
    return true;
}();
}  // namespace
}  // namespace qvo::bench
