// Element-wise operators over two sequences, on tiles that are in cache.
#include <cmath>
#include <functional>

#include "elementwise.h"

namespace qvo::bench {
namespace {

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

#define FAMILY(type)                                                                                             \
    add_member<qvo_##type, qvo_##type>("add", #type, binary_shapes, qvo_seq_add_##type, std::plus<>{});          \
    add_member<qvo_##type, qvo_##type>("sub", #type, binary_shapes, qvo_seq_sub_##type, std::minus<>{});         \
    add_member<qvo_##type, qvo_##type>("mul", #type, binary_shapes, qvo_seq_mul_##type, std::multiplies<>{});    \
    add_member<qvo_##type, qvo_##type>("div", #type, binary_shapes, qvo_seq_div_##type, std::divides<>{});       \
    add_member<qvo_##type, qvo_##type>("mod", #type, binary_shapes, qvo_seq_mod_##type, Mod{});                  \
    add_member<qvo_##type, qvo_##type>("max", #type, binary_shapes, qvo_seq_max_##type, Max{});                  \
    add_member<qvo_##type, qvo_##type>("min", #type, binary_shapes, qvo_seq_min_##type, Min{});                  \
    add_member<qvo_##type, qvo_seq_bool>("eq", #type, binary_shapes, qvo_seq_eq_##type, std::equal_to<>{});      \
    add_member<qvo_##type, qvo_seq_bool>("ne", #type, binary_shapes, qvo_seq_ne_##type, std::not_equal_to<>{});  \
    add_member<qvo_##type, qvo_seq_bool>("ge", #type, binary_shapes, qvo_seq_ge_##type, std::greater_equal<>{}); \
    add_member<qvo_##type, qvo_seq_bool>("le", #type, binary_shapes, qvo_seq_le_##type, std::less_equal<>{});    \
    add_member<qvo_##type, qvo_seq_bool>("gt", #type, binary_shapes, qvo_seq_gt_##type, std::greater<>{});       \
    add_member<qvo_##type, qvo_seq_bool>("lt", #type, binary_shapes, qvo_seq_lt_##type, std::less<>{});

QVO_BENCH_FAMILIES(elementwise) {
    FAMILY(int1)
    FAMILY(int4)
    FAMILY(double)
    add_member<qvo_seq_bool, qvo_seq_bool>("and", "bool", binary_shapes, qvo_seq_and, std::bit_and<>{});
    add_member<qvo_seq_bool, qvo_seq_bool>("or", "bool", binary_shapes, qvo_seq_or, std::bit_or<>{});
    add_member<qvo_seq_bool, qvo_seq_bool>("xor", "bool", binary_shapes, qvo_seq_xor, std::bit_xor<>{});
}

}  // namespace
}  // namespace qvo::bench
