// The caller's own functions and predicates, over the elements of one operand or the overlaps of two.
//
// A function is called once per result element, in order. It is found, with its context pointer if it takes one, in the
// record that the constructor left in the context.
#include "core/elementwise.h"

namespace qvo {
namespace {

// The records of predicates of strings call their fields by other names.
template <class Record> QVO_INLINE auto& function_in(Record& r) {
    if constexpr (requires { r.func; })
        return r.func;
    else
        return r.cond;
}
template <class Record> QVO_INLINE auto& context_in(Record& r) {
    if constexpr (requires { r.func_ctx; })
        return r.func_ctx;
    else
        return r.cond_ctx;
}

template <class Record, class... Args> QVO_INLINE auto call(Record& r, Args... args) {
    if constexpr (std::is_invocable_v<decltype(function_in(r)), Args..., void*>)
        return function_in(r)(args..., context_in(r));
    else
        return function_in(r)(args...);
}

// ---- One operand --------------------------------------------------------------------------------------------------
// A shape says how the function is applied to a tile (loop), and how the result is constructed.

/// From values of E to values of R.
template <class E, class R> struct Values {
    template <class Record> static void loop(qvo_seq_iterator_h it, size_t to, const uint8_t*, size_t from, size_t n) {
        const Record& record = state<Record>(it);
        const auto* const in = values_of<typename E::value>(it->opd[0]) + from;
        auto* const out = values_of<typename R::value>(it) + to;
        for (size_t i = 0; i < n; ++i) out[i] = call(record, in[i]);
    }
    static QVO_RET construct(qvo_seq_iterator_h result, qvo_seq_iterator_h input, qvo_seq_iterator_next_t next) {
        return construct_unary<E, R>(result, input, next);
    }
};

QVO_RET construct_from_char(qvo_seq_iterator_h result, qvo_seq_iterator_h input, ElementLayout layout,
                            qvo_seq_iterator_next_t next) {
    return construct_typed(result, input, QVO_DD_CHAR, layout, next);
}

/// From strings to strings of the same width, which the function writes into their place.
struct Strings {
    template <class Record> static void loop(qvo_seq_iterator_h it, size_t to, const uint8_t*, size_t from, size_t n) {
        const Record& record = state<Record>(it);
        const size_t width = it->elem_size;
        const char* const in = values_of<char>(it->opd[0]) + from * width;
        char* const out = values_of<char>(it) + to * width;
        for (size_t i = 0; i < n; ++i) call(record, out + i * width, in + i * width, qvo_size_t{width});
    }
    static QVO_RET construct(qvo_seq_iterator_h result, qvo_seq_iterator_h input, qvo_seq_iterator_next_t next) {
        return construct_from_char(result, input, {QVO_DD_CHAR, input->elem_size}, next);
    }
};

/// From strings to booleans. Deliberate: the strings are taken to be as wide as the elements of the result. So a
/// predicate of strings wider than one byte sees the single bytes at the front of the tile, one for each element.
struct StringTests {
    template <class Record> static void loop(qvo_seq_iterator_h it, size_t to, const uint8_t*, size_t from, size_t n) {
        const Record& record = state<Record>(it);
        const size_t width = it->elem_size;
        const char* const in = values_of<char>(it->opd[0]) + from * width;
        qvo_seq_bool* const out = values_of<qvo_seq_bool>(it) + to;
        for (size_t i = 0; i < n; ++i) out[i] = call(record, in + i * width, qvo_size_t{width});
    }
    static QVO_RET construct(qvo_seq_iterator_h result, qvo_seq_iterator_h input, qvo_seq_iterator_next_t next) {
        return construct_from_char(result, input, layout_of<elem_bool>, next);
    }
};

// ---- Two operands -------------------------------------------------------------------------------------------------
// A shape is a map of MappedLoops for each record, and how the result is constructed.

/// From two values of E to one.
template <class E> struct ValuePairs {
    using V = typename E::value;

    template <class Record> struct Map {
        const Record& record;
        const V* left;
        const V* right;
        V* result;

        explicit Map(qvo_seq_iterator_h it)
            : record(state<Record>(it)),
              left(values_of<V>(it->opd[0])),
              right(values_of<V>(it->opd[1])),
              result(values_of<V>(it)) {}
        void operator()(size_t to, size_t a, size_t b) const { result[to] = call(record, left[a], right[b]); }
    };
    static QVO_RET construct(qvo_seq_iterator_h result, qvo_seq_iterator_h left, qvo_seq_iterator_h right,
                             qvo_seq_iterator_next_t next) {
        return construct_binary<E, E>(result, left, right, next);
    }
};

/// From two strings to one of the same width.
struct StringPairs {
    template <class Record> struct Map {
        const Record& record;
        const char* left;
        const char* right;
        char* result;
        size_t width;

        explicit Map(qvo_seq_iterator_h it)
            : record(state<Record>(it)),
              left(values_of<char>(it->opd[0])),
              right(values_of<char>(it->opd[1])),
              result(values_of<char>(it)),
              width(it->elem_size) {}
        void operator()(size_t to, size_t a, size_t b) const {
            call(record, result + to * width, left + a * width, right + b * width, qvo_size_t{width});
        }
    };
    static QVO_RET construct(qvo_seq_iterator_h result, qvo_seq_iterator_h left, qvo_seq_iterator_h right,
                             qvo_seq_iterator_next_t next) {
        if (!has_type(left, QVO_DD_CHAR) || !has_type(right, QVO_DD_CHAR)) return QVO_E_ILLEGAL_TYPE;
        if (left->elem_size != right->elem_size) return QVO_E_ILLEGAL_TYPE;
        if (const QVO_RET rc = bind({left, right}); rc != QVO_S_OK) return rc;
        fill_result(result, {QVO_DD_CHAR, left->elem_size}, {left, right}, next, qvo_seq_reset_binary_iterator);
        return QVO_S_OK;
    }
};

// ---- The members --------------------------------------------------------------------------------------------------

/// The end of a constructor: keeps the function, and its context pointer if it takes one.
template <class Record, class Func> QVO_RET keep(QVO_RET rc, qvo_seq_iterator_h result, Func func) {
    if (rc == QVO_S_OK) function_in(state<Record>(result)) = func;
    return rc;
}
template <class Record, class Func> QVO_RET keep(QVO_RET rc, qvo_seq_iterator_h result, Func func, void* func_ctx) {
    if (rc == QVO_S_OK) context_in(state<Record>(result)) = func_ctx;
    return keep<Record>(rc, result, func);
}

}  // namespace

// A shape may contain commas, so it comes last.
#define DEFINE_NEXT(name, ...)                                                                                        \
    extern "C" QVO_API QVO_RET name##_next(qvo_seq_iterator_h iterator) {                                             \
        return elements_next(iterator, __VA_ARGS__::loop<name##_context_t>, Where::here(), Operand::Values::in_tile); \
    }
#define DEFINE_NEXT2(name, Shape)                                                                          \
    extern "C" QVO_API QVO_RET name##_next(qvo_seq_iterator_h iterator) {                                  \
        return overlap_next(iterator, loops_of<MappedLoops<Shape::Map<name##_context_t>>>, Where::here()); \
    }

// A function of one operand, and its form with a context pointer; then those of two operands.
#define DEFINE_FUNC(name, ...)                                                                                \
    DEFINE_NEXT(name, __VA_ARGS__)                                                                            \
    extern "C" QVO_API QVO_RET name(qvo_seq_iterator_h result, qvo_seq_iterator_h input, name##_ptr_t func) { \
        return keep<name##_context_t>(__VA_ARGS__::construct(result, input, name##_next), result, func);      \
    }
#define DEFINE_FUNC_CTX(name, ...)                                                                                 \
    DEFINE_NEXT(name, __VA_ARGS__)                                                                                 \
    extern "C" QVO_API QVO_RET name(qvo_seq_iterator_h result, qvo_seq_iterator_h input, name##_ptr_t func,        \
                                    void* func_ctx) {                                                              \
        return keep<name##_context_t>(__VA_ARGS__::construct(result, input, name##_next), result, func, func_ctx); \
    }
#define DEFINE_FUNC2(name, Shape)                                                                                 \
    DEFINE_NEXT2(name, Shape)                                                                                     \
    extern "C" QVO_API QVO_RET name(qvo_seq_iterator_h result, qvo_seq_iterator_h left, qvo_seq_iterator_h right, \
                                    name##_ptr_t func) {                                                          \
        return keep<name##_context_t>(Shape::construct(result, left, right, name##_next), result, func);          \
    }
#define DEFINE_FUNC2_CTX(name, Shape)                                                                              \
    DEFINE_NEXT2(name, Shape)                                                                                      \
    extern "C" QVO_API QVO_RET name(qvo_seq_iterator_h result, qvo_seq_iterator_h left, qvo_seq_iterator_h right,  \
                                    name##_ptr_t func, void* func_ctx) {                                           \
        return keep<name##_context_t>(Shape::construct(result, left, right, name##_next), result, func, func_ctx); \
    }

#define STAMP(type)                                                            \
    DEFINE_FUNC(qvo_seq_func_##type, Values<elem_##type, elem_##type>)         \
    DEFINE_FUNC_CTX(qvo_seq_func_ctx_##type, Values<elem_##type, elem_##type>) \
    DEFINE_FUNC(qvo_seq_cond_##type, Values<elem_##type, elem_bool>)           \
    DEFINE_FUNC_CTX(qvo_seq_cond_ctx_##type, Values<elem_##type, elem_bool>)   \
    DEFINE_FUNC2(qvo_seq_func2_##type, ValuePairs<elem_##type>)                \
    DEFINE_FUNC2_CTX(qvo_seq_func2_ctx_##type, ValuePairs<elem_##type>)
QVO_SEQ_FOR_FIXED_TYPES(STAMP)
#undef STAMP

DEFINE_FUNC(qvo_seq_func_char, Strings)
DEFINE_FUNC_CTX(qvo_seq_func_ctx_char, Strings)
DEFINE_FUNC(qvo_seq_cond_char, StringTests)
DEFINE_FUNC_CTX(qvo_seq_cond_ctx_char, StringTests)
DEFINE_FUNC2(qvo_seq_func2_char, StringPairs)
DEFINE_FUNC2_CTX(qvo_seq_func2_ctx_char, StringPairs)

}  // namespace qvo
