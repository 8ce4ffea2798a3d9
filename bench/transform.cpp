// Element-wise operators over two sequences, on tiles that are in cache.
#include <cmath>
#include <functional>

#include "support.h"

namespace qvo::bench {
namespace {

using Constructor = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h, qvo_seq_iterator_h);

/// The result tile against the operation on the expanded operands; `a` and `b` repeat for ever.
template <class V, class R, class Op>
bool tile_is_right(const qvo_seq_iterator_t& it, const Column<V>& a, const Column<V>& b, Op op) {
    const std::vector<V> left = a.flat(), right = b.flat();
    R result[capacity<R>()];
    std::memcpy(result, it.tile.u.arr_uint1, sizeof result);
    size_t at = 0;
    for (size_t i = 0; i < it.tile_size; ++i) {
        const R expected = static_cast<R>(op(left[at % left.size()], right[at % right.size()]));
        if (std::memcmp(&expected, &result[i], sizeof expected) != 0) return false;
        at += it.tile.u.arr_uint1[sizeof(qvo_seq_payload_t) - 1 - i];
    }
    return it.tile_size == capacity<R>() && at == it.next_seq_no;
}

template <class V, class R, class Op>
void run_tiles(benchmark::State& state, Constructor construct, Op op, Runs left, Runs right) {
    const auto a = random_column<V>(capacity<V>(), left, 1), b = random_column<V>(capacity<V>(), right, 2);
    TileSource<V> sa(a), sb(b);
    qvo_seq_iterator_t it{};
    if (construct(&it, sa.get(), sb.get()) != QVO_S_OK || it.next(&it) != QVO_S_OK ||
        !tile_is_right<V, R>(it, a, b, op))
        return fail(state);
    time_tiles(state, it);
}

template <class V, class R, class Op> void run_flat(benchmark::State& state, Op op) {
    const auto a = random_column<V>(capacity<V>(), single_runs, 1), b = random_column<V>(capacity<V>(), single_runs, 2);
    std::vector<R> out(capacity<V>());
    double elements = 0;
    for (auto _ : state) {
        const V* __restrict left = a.values.data();
        const V* __restrict right = b.values.data();
        R* __restrict result = out.data();
        for (size_t i = 0; i < capacity<V>(); ++i) result[i] = static_cast<R>(op(left[i], right[i]));
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
        elements += static_cast<double>(capacity<V>());
    }
    count(state, elements, elements);
}

template <class V, class R, class Op>
void add_member(const char* family, const char* type, Constructor construct, Op op) {
    struct Shape {
        const char* name;
        Runs left, right;
    };
    static constexpr Shape shapes[] = {
        {"single", single_runs, single_runs}, {"const", single_runs, full_runs}, {"const_left", full_runs, single_runs},
        {"full", full_runs, full_runs},       {"short", short_runs, short_runs}, {"short_const", short_runs, full_runs},
        {"long", long_runs, long_runs},       {"cross", {3, 3}, {4, 4}},
    };
    add_case(family, type, "flat", [op](benchmark::State& state) { run_flat<V, R>(state, op); });
    for (const Shape& shape : shapes)
        add_case(family, type, shape.name,
                 [=](benchmark::State& state) { run_tiles<V, R>(state, construct, op, shape.left, shape.right); });
}

struct Mod {
    template <class V> V operator()(V a, V b) const {
        if constexpr (std::is_floating_point_v<V>)
            return std::fmod(a, b);
        else
            return static_cast<V>(a % b);
    }
};
struct Max {
    template <class V> V operator()(V a, V b) const { return a > b ? a : b; }
};
struct Min {
    template <class V> V operator()(V a, V b) const { return b > a ? a : b; }
};

#define FAMILY(type)                                                                              \
    add_member<qvo_##type, qvo_##type>("add", #type, qvo_seq_add_##type, std::plus<>{});          \
    add_member<qvo_##type, qvo_##type>("sub", #type, qvo_seq_sub_##type, std::minus<>{});         \
    add_member<qvo_##type, qvo_##type>("mul", #type, qvo_seq_mul_##type, std::multiplies<>{});    \
    add_member<qvo_##type, qvo_##type>("div", #type, qvo_seq_div_##type, std::divides<>{});       \
    add_member<qvo_##type, qvo_##type>("mod", #type, qvo_seq_mod_##type, Mod{});                  \
    add_member<qvo_##type, qvo_##type>("max", #type, qvo_seq_max_##type, Max{});                  \
    add_member<qvo_##type, qvo_##type>("min", #type, qvo_seq_min_##type, Min{});                  \
    add_member<qvo_##type, qvo_seq_bool>("eq", #type, qvo_seq_eq_##type, std::equal_to<>{});      \
    add_member<qvo_##type, qvo_seq_bool>("ne", #type, qvo_seq_ne_##type, std::not_equal_to<>{});  \
    add_member<qvo_##type, qvo_seq_bool>("ge", #type, qvo_seq_ge_##type, std::greater_equal<>{}); \
    add_member<qvo_##type, qvo_seq_bool>("le", #type, qvo_seq_le_##type, std::less_equal<>{});    \
    add_member<qvo_##type, qvo_seq_bool>("gt", #type, qvo_seq_gt_##type, std::greater<>{});       \
    add_member<qvo_##type, qvo_seq_bool>("lt", #type, qvo_seq_lt_##type, std::less<>{});

QVO_BENCH_FAMILIES(elementwise) {
    FAMILY(int1)
    FAMILY(int4)
    FAMILY(double)
    add_member<qvo_seq_bool, qvo_seq_bool>("and", "bool", qvo_seq_and, std::bit_and<>{});
    add_member<qvo_seq_bool, qvo_seq_bool>("or", "bool", qvo_seq_or, std::bit_or<>{});
    add_member<qvo_seq_bool, qvo_seq_bool>("xor", "bool", qvo_seq_xor, std::bit_xor<>{});
}

}  // namespace
}  // namespace qvo::bench
