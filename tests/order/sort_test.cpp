// Sorting by permutation: every type against a literal statement of the steps, which draws the same pivots. All calls
// that draw go through `sorts_as_model` or a twin of it, so that the model's seeds keep up with the library's.
#include <algorithm>
#include <numeric>

#include "support/number.h"

namespace test {
namespace {

using Permutation = std::vector<qvo_seq_no_t>;

std::vector<uint32_t> model_seeds(256, 123456789);  // by type

/// The steps on positions; gt(a, b) says whether the value at position a is greater than that at b.
struct Model {
    std::function<bool(qvo_seq_no_t a, qvo_seq_no_t b)> gt;
    uint32_t& seed;
    size_t heap_sorts = 0;

    bool in_order(size_t n, bool falling) const {
        for (size_t i = 0; i + 1 < n; ++i)
            if (falling ? gt(i + 1, i) : gt(i, i + 1)) return false;
        return true;
    }
    void insertion_sort(qvo_seq_no_t* s, size_t n) {
        if (n < 2) return;
        size_t m = 1;
        for (size_t k = 2; k < n; ++k)
            if (gt(s[m], s[k])) m = k;
        if (gt(s[0], s[m])) std::swap(s[0], s[m]);
        for (size_t k = 2; k < n; ++k) {
            const qvo_seq_no_t x = s[k];
            size_t at = k;
            for (; gt(s[at - 1], x); --at) s[at] = s[at - 1];
            s[at] = x;
        }
    }
    void sift(qvo_seq_no_t* s, size_t h, size_t last) {
        const qvo_seq_no_t x = s[h];
        for (size_t c = 2 * h; c <= last; h = c, c = 2 * c) {
            if (c < last && gt(s[c + 1], s[c])) c = c + 1;
            if (!gt(s[c], x)) break;
            s[h] = s[c];
        }
        s[h] = x;
    }
    void heap_sort(qvo_seq_no_t* s, size_t n) {
        ++heap_sorts;
        if (n < 2) return;
        const size_t last = n - 1;
        for (size_t i = last / 2 + 1; i > 0; --i) sift(s, i - 1, last);
        std::swap(s[0], s[last]);
        for (size_t k = n - 2; k >= 1; --k) {
            sift(s, 0, k);
            std::swap(s[0], s[k]);
        }
    }
    void median_estimate(qvo_seq_no_t* s, size_t n) {
        seed = static_cast<uint32_t>((uint64_t{seed} * 69069 + 362437) % (uint64_t{1} << 32));
        std::swap(s[0], s[seed % (n - 1)]);
        const qvo_seq_no_t o0 = s[0], o1 = s[1], on = s[n - 1];
        const bool ba = gt(o1, o0), ca = gt(on, o0), bc = gt(o1, on), ac = gt(o0, on);
        qvo_seq_no_t n0 = o0, n1 = o1, nn = on;
        if (ba && ca && bc) n0 = on, n1 = o0, nn = o1;
        if (ba && ca && !bc) n0 = o1, n1 = o0;
        if (ba && !ca) n1 = on, nn = o1;
        if (!ba && ac && bc) n0 = o1, n1 = on, nn = o0;
        if (!ba && ac && !bc) n0 = on, nn = o0;
        s[0] = n0, s[1] = n1, s[n - 1] = nn;
    }
    void qloop(qvo_seq_no_t* s, size_t n, unsigned d) {
        while (n > 50) {
            if (in_order(n, false)) return;
            if (d == 0) return heap_sort(s, n);
            --d;
            median_estimate(s, n);
            size_t i = 1, j = n - 1;
            for (;;) {
                do ++i;
                while (gt(s[0], s[i]));
                do --j;
                while (gt(s[j], s[0]));
                if (!(j > i)) break;
                std::swap(s[i], s[j]);
            }
            std::swap(s[0], s[j]);
            qloop(s + j + 1, n - 1 - j, d);
            n = j;
        }
        insertion_sort(s, n);
    }
    Permutation sort(size_t n, qvo_seq_order_t order) {
        Permutation identity(n);
        std::iota(identity.begin(), identity.end(), 0);
        const Permutation backwards(identity.rbegin(), identity.rend());
        if (n <= 1 || in_order(n, false)) return order == QVO_SEQ_DESC_ORDER ? backwards : identity;
        if (in_order(n, true)) return order == QVO_SEQ_ASC_ORDER ? backwards : identity;
        unsigned bits = 0;
        for (size_t q = n / 4; q != 0; q /= 2) ++bits;
        qloop(identity.data(), n, 2 * (2 + bits));
        return order == QVO_SEQ_DESC_ORDER ? Permutation(identity.rbegin(), identity.rend()) : identity;
    }
};

/// Values of one type.
struct Data {
    uint8_t type;
    std::vector<Number> values;

    size_t size() const { return values.size(); }
    std::string bytes() const {
        std::string all;
        for (const Number v : values) all += bytes_of(type, v);
        return all;
    }
    Model model() const {
        return {[this](qvo_seq_no_t a, qvo_seq_no_t b) { return values[a] > values[b]; }, model_seeds[type]};
    }
};

/// The functions of one type.
struct Api {
    uint8_t type;
    QVO_RET (*sort)(const void*, qvo_seq_no_t*, qvo_size_t, qvo_seq_order_t);
    qvo_bool (*sorted)(const void*, qvo_size_t);
    qvo_bool (*rev_sorted)(const void*, qvo_size_t);
    void (*init)(qvo_seq_no_t*, qvo_size_t, qvo_seq_order_t);
    void (*insertion)(const void*, qvo_seq_no_t*, qvo_size_t);
    void (*median)(const void*, qvo_seq_no_t*, qvo_size_t);
    void (*heap)(const void*, qvo_seq_no_t*, qvo_size_t);
    void (*qloop)(const void*, qvo_seq_no_t*, qvo_size_t, unsigned);
};
#define CALL(function, type) \
    [](const void* data, auto... rest) { return function##_##type(static_cast<const qvo_##type*>(data), rest...); }
#define API(type)                                                                                                      \
    Api {                                                                                                              \
        t_##type::code, CALL(qvo_seq_sort, type), CALL(sorted, type), CALL(rev_sorted, type), init_permutation_##type, \
            CALL(insertion_sort, type), CALL(median_estimate, type), CALL(heap_sort, type), CALL(qloop, type)          \
    }

void expect_same(const Permutation& actual, const Permutation& expected, const std::string& what) {
    const auto at = std::mismatch(actual.begin(), actual.end(), expected.begin(), expected.end()).first;
    EXPECT_TRUE(actual == expected) << what << ": differs from entry " << at - actual.begin() << " on";
}

void sorts_as_model(const Api& api, const Data& data, const std::string& what,
                    qvo_seq_order_t order = QVO_SEQ_ASC_ORDER) {
    Permutation actual(data.size(), ~qvo_seq_no_t{0});
    EXPECT_EQ(api.sort(data.bytes().data(), actual.data(), data.size(), order), QVO_S_OK);
    expect_same(actual, data.model().sort(data.size(), order), what + ", n " + std::to_string(data.size()));
}

/// Inputs by name; values are drawn anew for every call.
Data input(const std::string& kind, uint8_t type, size_t n, Random& random) {
    std::vector<Number> data(n);
    for (Number& v : data) do
            v = random_number(random, type);
        while (std::isnan(v) && kind != "random with NaN");
    if (kind == "few values")
        for (Number& v : data) v = random.below(3);
    else if (kind == "spread")
        for (Number& v : data)
            v = is_floating(type) ? random.below(1U << 20) + 0.25 * random.below(4)
                                  : wrapped(type, random.below(1U << 30));
    else if (kind == "constant")
        std::fill(data.begin(), data.end(), 7);
    else if (kind != "random" && kind != "random with NaN")
        std::sort(data.begin(), data.end());
    if (kind == "descending") std::reverse(data.begin(), data.end());
    if (kind == "nearly ascending" && n > 1)
        for (size_t i = 0; i < n / 100 + 1; ++i)
            std::swap(data[random.below(unsigned(n))], data[random.below(unsigned(n))]);
    if (kind == "ascending start") std::shuffle(data.begin() + std::ptrdiff_t(n * 3 / 4), data.end(), std::mt19937(1));
    if (kind == "organ pipe") std::reverse(data.begin() + std::ptrdiff_t(n / 2), data.end());
    if (kind == "mostly NaN")
        for (Number& v : data)
            if (random.chance(70)) v = is_floating(type) ? std::numeric_limits<Number>::quiet_NaN() : 0;
    return {type, data};
}

void check_sort(const Api& api) {
    SCOPED_TRACE(testing::Message() << "type " << int{api.type});
    Random random(api.type + 1U);
    static constexpr qvo_seq_order_t orders[] = {QVO_SEQ_ASC_ORDER, QVO_SEQ_DESC_ORDER, QVO_SEQ_NO_ORDER,
                                                 static_cast<qvo_seq_order_t>(3)};
    const auto check = [&](const char* kind, size_t n, qvo_seq_order_t order) {
        sorts_as_model(api, input(kind, api.type, n, random), kind, order);
    };
    for (const char* kind : {"random", "random with NaN", "mostly NaN", "few values", "spread", "constant", "ascending",
                             "descending", "nearly ascending", "ascending start", "organ pipe"}) {
        for (const unsigned n :
             {0U, 1U, 2U, 3U, 7U, 49U, 50U, 51U, 52U, 53U, 100U, 129U, 130U, 131U, 195U, 1000U, 3001U})
            check(kind, n, orders[random.below(4)]);
        for (size_t i = 0; i < 20; ++i) check(kind, random.between(2, 400), orders[i % 4]);
        if (testing::Test::HasFailure()) return;
    }
    check("random", 100000, QVO_SEQ_ASC_ORDER);
    check("spread", 100000, QVO_SEQ_DESC_ORDER);
    check("nearly ascending", 100000, QVO_SEQ_ASC_ORDER);
}

TEST(Sort, FollowsTheModel) {
#define CHECK_SORT(type) check_sort(API(type));
    QVO_SEQ_FOR_FIXED_TYPES(CHECK_SORT)
}

/// Values that make every pivot a bad one: they are settled while the model compares them, as late as possible and as
/// low as possible.
Data killer(uint8_t type, size_t n) {
    const Number open = n;  // above all settled ones
    std::vector<Number> data(n, open);
    data[0] = 1, data[1] = 0;  // no order to begin with
    size_t n_settled = 2, candidate = 0;
    const auto gt = [&](qvo_seq_no_t a, qvo_seq_no_t b) {
        if (data[a] == open && data[b] == open && a != b) data[a == candidate ? a : b] = n_settled++;
        if (data[a] == open)
            candidate = a;
        else if (data[b] == open)
            candidate = b;
        return data[a] > data[b];
    };
    uint32_t seed = model_seeds[type];  // of the sort that is to come
    Model{gt, seed}.sort(n, QVO_SEQ_ASC_ORDER);
    return {type, data};
}

TEST(Sort, BadPivotsEndInHeapSort) {
    for (const auto& [api, n] : {std::pair(API(double), 2000U), {API(int4), 100000U}, {API(datetime), 5000U}}) {
        const Data data = killer(api.type, n);
        const uint32_t seed = model_seeds[api.type];
        Model model = data.model();
        model.sort(n, QVO_SEQ_ASC_ORDER);
        EXPECT_GT(model.heap_sorts, 0U) << "bad pivots must end in heap sort";
        model_seeds[api.type] = seed;
        sorts_as_model(api, data, "bad pivots");
    }
}

void check_steps_of(const Api& api) {
    SCOPED_TRACE(testing::Message() << "type " << int{api.type});
    Random random(api.type + 100U);
    for (unsigned round = 0; round < 60; ++round) {
        const char* kinds[] = {"random with NaN", "mostly NaN", "few values", "spread", "nearly ascending"};
        const size_t n = round < 10 ? round : random.between(3, 300);
        const Data data = input(kinds[round % 5], api.type, n, random);
        const std::string bytes = data.bytes();
        const void* values = bytes.data();
        Model model = data.model();
        if (n != 0) {
            EXPECT_EQ(api.sorted(values, n), model.in_order(n, false));
            EXPECT_EQ(api.rev_sorted(values, n), model.in_order(n, true));
        }
        Permutation start(n), actual, expected;
        api.init(start.data(), n, QVO_SEQ_DESC_ORDER);
        for (size_t i = 0; i < n; ++i) EXPECT_EQ(start[i], n - 1 - i);
        api.init(start.data(), n, QVO_SEQ_NO_ORDER);
        for (size_t i = 0; i < n; ++i) EXPECT_EQ(start[i], i);
        std::shuffle(start.begin(), start.end(), std::mt19937(round));
        const auto check = [&](const char* step, auto library, auto literal, auto... depth) {
            actual = expected = start;
            library(values, actual.data(), n, depth...);
            (model.*literal)(expected.data(), n, depth...);
            expect_same(actual, expected, std::string(step) + ", round " + std::to_string(round));
        };
        check("insertion_sort", api.insertion, &Model::insertion_sort);
        check("heap_sort", api.heap, &Model::heap_sort);
        if (n >= 3) check("median_estimate", api.median, &Model::median_estimate);
        for (unsigned d = 0; d < 4; ++d) check("qloop", api.qloop, &Model::qloop, d);
        if (testing::Test::HasFailure()) return;
    }
}

TEST(Sort, StepsFollowTheModel) {
#define CHECK_STEPS(type) check_steps_of(API(type));
    QVO_SEQ_FOR_FIXED_TYPES(CHECK_STEPS)
}

TEST(Sort, OddOrders_deliberate) {
    const auto sorted = [](const std::vector<int>& data, qvo_seq_order_t order) {
        Permutation p(data.size());
        qvo_seq_sort_int4(data.data(), p.data(), data.size(), order);
        return p;
    };
    EXPECT_EQ(sorted({1, 2, 2, 0}, QVO_SEQ_DESC_ORDER), (Permutation{2, 1, 0, 3})) << "equal values backwards";
    EXPECT_EQ(sorted({3, 2, 1}, QVO_SEQ_NO_ORDER), (Permutation{0, 1, 2})) << "only descending values stay";
    EXPECT_EQ(sorted({3, 1, 2}, QVO_SEQ_NO_ORDER), (Permutation{1, 2, 0}));
    // An ascending start leaves slices unsorted.
    std::vector<int> data(1000);
    for (int i = 0; i < 1000; ++i) data[size_t(i)] = i < 900 ? i : i * 37 % 100;
    const Permutation p = sorted(data, QVO_SEQ_ASC_ORDER);
    EXPECT_FALSE(std::is_sorted(p.begin(), p.end(), [&](auto a, auto b) { return data[a] < data[b]; }));
}

}  // namespace
}  // namespace test
