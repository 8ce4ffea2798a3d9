// The caller's own functions and predicates.
#include "support/protocol.h"

namespace test {
namespace {

// Pure functions that tell their arguments apart; with a context, they take a number from it.
template <class V, int than, int yes> V less(V v) { return v < V{than} ? V{yes} : v; }
template <class V, int than, int yes> qvo_seq_bool is_less(V v) { return v < V{than} ? yes : 0; }
template <class V, int yes> V less2(V a, V b) { return a < b ? V{yes} : a; }
template <class V> struct User {
    inline static V limit{5};
    static V func(V v, void* ctx) { return v < *static_cast<V*>(ctx) ? V{8} : v; }
    static qvo_seq_bool cond(V v, void* ctx) { return v < *static_cast<V*>(ctx) ? 2 : 0; }
    static V func2(V left, V right, void* ctx) { return left < right ? *static_cast<V*>(ctx) : left; }
};

// A member's name, its constructor with the caller's function bound in, and its `next`.
#define WITH_FUNC(stem, ...) \
#stem, [](qvo_seq_iterator_h it, qvo_seq_iterator_h input) { return stem(it, input, __VA_ARGS__); }, stem##_next
#define WITH_FUNC2(stem, ...)                              \
#stem, [](qvo_seq_iterator_h it, qvo_seq_iterator_h a, \
              qvo_seq_iterator_h b) { return stem(it, a, b, __VA_ARGS__); }, stem##_next

// The models are functions and not closures: one type for all members of an element type.
#define TEST_MEMBER(type)                                                                                 \
    {                                                                                                     \
        using V = qvo_##type;                                                                             \
        using U = User<V>;                                                                                \
        using T = t_##type;                                                                               \
        check_unary<T, T>(WITH_FUNC(qvo_seq_func_##type, less<V, 3, 9>), less<V, 3, 9>);                  \
        check_unary<T, T>(WITH_FUNC(qvo_seq_func_ctx_##type, U::func, &U::limit), less<V, 5, 8>);         \
        check_unary<T, t_bool>(WITH_FUNC(qvo_seq_cond_##type, is_less<V, 3, 1>), is_less<V, 3, 1>);       \
        check_unary<T, t_bool>(WITH_FUNC(qvo_seq_cond_ctx_##type, U::cond, &U::limit), is_less<V, 5, 2>); \
        check_binary<T, T>(WITH_FUNC2(qvo_seq_func2_##type, less2<V, 7>), less2<V, 7>);                   \
        check_binary<T, T>(WITH_FUNC2(qvo_seq_func2_ctx_##type, U::func2, &U::limit), less2<V, 5>);       \
    }

TEST(Callback, FollowsTheModel) { QVO_SEQ_FOR_FIXED_TYPES(TEST_MEMBER) }

// ---- How often, and in which order --------------------------------------------------------------------------------

/// Counts its calls, and puts the count into the value: one call too many or out of order changes all that follow.
qvo_int8 numbered(qvo_int8 v, void* calls) { return v * 100000 + ++*static_cast<qvo_int8*>(calls); }
qvo_int8 numbered2(qvo_int8 left, qvo_int8 right, void* calls) { return numbered(left * 50 + right, calls); }

TEST(Callback, OneCallPerElementOrOverlapInOrder) {
    static qvo_int8 calls, expected_calls;
    const auto current = [](qvo_seq_iterator_h o) { return literal_value<qvo_int8>(o, o->tile_offs); };
    const Steps one = [=](qvo_seq_iterator_h it) {
        return literal_elements_next(
            it, [=](size_t i, size_t) { literal_put(it, i, numbered(current(it->opd[0]), &expected_calls)); });
    };
    const Steps two = [=](qvo_seq_iterator_h it) {
        return literal_overlap_next(it, [=](size_t i) {
            const qvo_int8 left = current(it->opd[0]), right = current(it->opd[1]);
            return literal_put(it, i, numbered2(left, right, &expected_calls)), true;
        });
    };
    Member func = unary_member<t_int8>(WITH_FUNC(qvo_seq_func_ctx_int8, numbered, &calls));
    Member func2 = binary_member(WITH_FUNC2(qvo_seq_func2_ctx_int8, numbered2, &calls), QVO_DD_INT8, 8);
    for_seeds(40, [&](Random& random, unsigned seed) {
        const auto small = [](Random& r) { return qvo_int8{r.below(40)}; };
        const auto draw = [&] { return operand<t_int8>(random_items<t_int8>(random, random.between(4, 2000), small)); };
        func.operands = {draw()}, func2.operands = {draw(), draw()};
        for (const auto& [member, steps] : {std::pair(&func, &one), {&func2, &two}}) {
            calls = expected_calls = 0;
            check_steps(*member, *steps, {random_script(random, seed), random_script(random, seed + 1)});
            EXPECT_EQ(calls, expected_calls);
        }
    });
}

// ---- Strings ------------------------------------------------------------------------------------------------------

constexpr size_t width = 5;
struct t_string : t_char {
    static constexpr uint16_t width = test::width;
};
char mask = 1;

void flip(char* destination, const char* source, qvo_size_t n, char with) {
    for (qvo_size_t i = 0; i < n; ++i) destination[i] = static_cast<char>(source[i] ^ with);
}
void flip_char(char* destination, const char* source, qvo_size_t n) { flip(destination, source, n, 3); }
void flip_char_ctx(char* destination, const char* source, qvo_size_t n, void* ctx) {
    flip(destination, source, n, *static_cast<char*>(ctx));
}
void halves(char* destination, const char* left, const char* right, qvo_size_t n) {
    std::memcpy(destination, left, n / 2);
    std::memcpy(destination + n / 2, right, n - n / 2);
}
void halves_ctx(char* destination, const char* left, const char* right, qvo_size_t n, void* ctx) {
    halves(destination, left, right, n);
    destination[n - 1] = *static_cast<char*>(ctx);
}
qvo_seq_bool is_even(const char* string, qvo_size_t n) { return n == 1 ? *string % 2 == 0 : 99; }
qvo_seq_bool exceeds(const char* string, qvo_size_t n, void* ctx) {
    return n == 1 ? *string > *static_cast<char*>(ctx) : 99;
}

MakeSource draw_strings(Random& random, size_t n) {
    const auto word = [](Random& r) { return std::string(1, "abc\0"[r.below(4)]) + "xyz"[r.below(3)]; };
    return operand<t_char>(random_items<t_char>(random, n, word), width);
}

TEST(Callback, FunctionsOfStrings) {
    for (const bool ctx : {false, true}) {
        const auto flipped = [=](qvo_seq_iterator_h it, size_t i, size_t k) {
            std::string bytes = literal_bytes(it->opd[0], k);
            for (char& byte : bytes) byte = static_cast<char>(byte ^ (ctx ? mask : 3));
            literal_put_bytes(it, i, bytes);
        };
        check_unary(ctx ? unary_member<t_string>(WITH_FUNC(qvo_seq_func_ctx_char, flip_char_ctx, &mask))
                        : unary_member<t_string>(WITH_FUNC(qvo_seq_func_char, flip_char)),
                    draw_strings, flipped);
        const auto joined = [=](qvo_seq_iterator_h it, size_t i) {
            std::string bytes = literal_bytes(it->opd[0]).substr(0, 2) + literal_bytes(it->opd[1]).substr(0, 3);
            if (ctx) bytes.back() = mask;
            literal_put_bytes(it, i, bytes);
        };
        check_binary(ctx ? binary_member(WITH_FUNC2(qvo_seq_func2_ctx_char, halves_ctx, &mask), QVO_DD_CHAR, width)
                         : binary_member(WITH_FUNC2(qvo_seq_func2_char, halves), QVO_DD_CHAR, width),
                     draw_strings, draw_strings, joined);
    }
    Source a(t_char{}, {{"a"}}, {}, 2), b(t_char{}, {{"b"}}, {}, 3);
    expect_refused(QVO_E_ILLEGAL_TYPE, qvo_seq_func2_char, a.get(), b.get(), halves);
    expect_refused(QVO_E_ILLEGAL_TYPE, qvo_seq_func2_ctx_char, a.get(), b.get(), halves_ctx, nullptr);
    EXPECT_TRUE(a->bounded == 0 && b->bounded == 0);
}

TEST(Callback, PredicatesOfStringsStepByOneByte_deliberate) {
    const auto check = [](const Member& member, bool (*model)(char)) {
        check_unary(member, draw_strings, [=](qvo_seq_iterator_h it, size_t i, size_t k) {
            it->tile.u.arr_uint1[i] = model(it->opd[0]->tile.u.arr_char[k]);
        });
    };
    check(unary_member<t_bool>(WITH_FUNC(qvo_seq_cond_char, is_even)), [](char c) { return c % 2 == 0; });
    check(unary_member<t_bool>(WITH_FUNC(qvo_seq_cond_ctx_char, exceeds, &mask)), [](char c) { return c > 1; });
}

}  // namespace
}  // namespace test
