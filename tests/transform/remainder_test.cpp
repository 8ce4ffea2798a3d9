// The remainder of floating values, over quotients of all sizes and next to whole ones, against the C library's.
#include "support/protocol.h"

namespace test {
namespace {

/// Near a whole or a half multiple of the divisor, or that times a power of two.
double dividend(Random& random, double divisor) {
    const double many = random.value<double>() + random.below(1U << random.below(31));
    const double value = divisor * (many + 0.5 * random.below(2));
    return random.chance(50) ? std::nextafter(value, random.value<double>()) : std::ldexp(value, int(random.below(70)));
}

template <class T> void check_remainders(ConstructBinary construct, int most_exponent) {
    using V = typename T::value;
    Random random(1);
    Items<T> left, right;
    for (int i = 0; i < 200'000; ++i) {
        const V divisor = random.chance(20)
                              ? random.value<V>()
                              : static_cast<V>(std::ldexp(1.0 + random.below(1U << random.below(31)) / 7.0,
                                                          int(random.below(2 * most_exponent)) - most_exponent));
        left.push_back({random.chance(20) ? random.value<V>() : static_cast<V>(dividend(random, double(divisor))), 1});
        right.push_back({divisor, i % 1000 < 500 ? 1U : 2U});
    }
    const auto actual = applied<T>(construct, left, right);
    std::vector<V> a = expand(left), b = expand(right);
    ASSERT_EQ(expand(actual).size(), a.size());
    size_t at = 0;
    for (const V result : expand(actual)) {
        const V expected = static_cast<V>(std::fmod(double(a[at]), double(b[at])));
        ASSERT_TRUE(same_value(result, expected)) << a[at] << " mod " << b[at] << " is not " << result;
        ++at;
    }
}

TEST(Remainder, AsOfTheCLibrary) {
    check_remainders<t_double>(qvo_seq_mod_double, 1070);
    check_remainders<t_float>(qvo_seq_mod_float, 140);
}

}  // namespace
}  // namespace test
