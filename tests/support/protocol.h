// What every family has in common, checked for any member from a description of it; and comparing an iterator with a
// step-by-step statement of its rules.
#pragma once

#include <functional>
#include <memory>

#include "support/host.h"
#include "support/source.h"

namespace test {

/// Makes one operand of a family, with a script of its own.
using MakeSource = std::function<std::unique_ptr<Source>(Script)>;

template <class T> MakeSource operand(Items<T> items, size_t width = Source::width_of<T>());

/// A member of a family, as the shared checks see it. The operands need at least 4 elements each, and the member must
/// deliver at least one element from them.
struct Member {
    using Operands = std::vector<qvo_seq_iterator_h>;

    std::string name;
    std::vector<MakeSource> operands;
    std::function<QVO_RET(qvo_seq_iterator_h result, const Operands&)> construct;
    uint8_t type = 0;  // of the result
    size_t width = 0;
    qvo_seq_iterator_next_t next = nullptr;
    qvo_seq_iterator_reset_t reset = nullptr;
    qvo_seq_iterator_prepare_t prepare = nullptr;
    qvo_seq_iterator_merge_t merge = nullptr;
    bool aggregate = false;             // sets `prepared` to 0
    bool passes_errors = true;          // returns the errors of its operands
    bool own_refusals = false;          // checks its operands in another way, which has tests of its own
    bool endless = false;               // never ends, whatever its operands do
    bool checks_tiles = true;           // every tile is one that qvo_seq_check_tile accepts
    bool writes_runs = true;            // every run byte; else some are what was there before
    std::string source = "qvoseqrle/";  // where a stop says that it is
    std::vector<bool> type_checked;     // per operand; none: all
    std::vector<bool> bound;            // per operand, whether it is checked and marked; none: all
    std::vector<bool> stops_on_empty;   // per operand, whether an empty tile is the fatal stop; none: all

    std::function<void(const Operands&)>
        before;  // for steps: reads from the operands first, so that they start in mid-tile
};

// Members by their name, constructor and `next`; the constructor has got its parameters.
using ConstructUnary = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h);
using ConstructBinary = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h, qvo_seq_iterator_h);
using ConstructTernary = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h, qvo_seq_iterator_h, qvo_seq_iterator_h);
Member ternary_member(std::string name, ConstructTernary construct, qvo_seq_iterator_next_t next, uint8_t type,
                      size_t width, qvo_seq_iterator_reset_t reset = qvo_seq_reset_ternary_iterator);
Member unary_member(std::string name, const std::function<std::remove_pointer_t<ConstructUnary>>& construct,
                    qvo_seq_iterator_next_t next, uint8_t type, size_t width,
                    qvo_seq_iterator_reset_t reset = qvo_seq_reset_unary_iterator);
Member binary_member(std::string name, const std::function<std::remove_pointer_t<ConstructBinary>>& construct,
                     qvo_seq_iterator_next_t next, uint8_t type, size_t width,
                     qvo_seq_iterator_reset_t reset = qvo_seq_reset_binary_iterator);
template <class R> Member unary_member(std::string name, ConstructUnary construct, qvo_seq_iterator_next_t next) {
    return unary_member(std::move(name), construct, next, R::code, R::width);
}

/// The constructor's checks in their order and what each leaves; the fields of the result; the end that lasts; an
/// operand's error passed on; the fatal stop with and without tracing; reset in mid-stream and at the end.
void check_protocol(const Member& member);

/// Everything in two records but pointers is the same: the tile with its bytes after the last element as well.
void expect_same_record(const qvo_seq_iterator_t& actual, const qvo_seq_iterator_t& expected, const std::string& what);

/// What a member of one type, or of types T and R, makes of elements.
template <class T, class R = T> Items<R> applied(ConstructUnary construct, const Items<T>& items) {
    return drained<R>(construct, Source(T{}, items).get());
}
template <class T, class R = T>
Items<R> applied(ConstructBinary construct, const Items<T>& left, const Items<T>& right) {
    return drained<R>(construct, Source(T{}, left).get(), Source(T{}, right).get());
}

/// A literal statement of a `next`, on the model's record, which starts as a copy of the constructed one.
using Steps = std::function<QVO_RET(qvo_seq_iterator_h)>;

/// One run of a member against its steps, on operands of the same scripts: after every call the code, the record, the
/// operands' read positions and the number of their `next` calls are the same.
void check_steps(const Member& member, const Steps& literal, const std::vector<Script>& scripts,
                 const std::function<void(const Member::Operands&)>& before = nullptr, unsigned most_calls = 10000);

/// The protocol, and the steps over random tile sizes and operand errors. For each seed, draw(random, seed, member)
/// gives the member its operands, and what else may depend on the seed, and returns its steps. A member that may never
/// end is given a number of calls.
void check_random(Member member, unsigned seeds, const std::function<Steps(Random&, unsigned seed, Member&)>& draw,
                  unsigned most_calls = 10000);

/// Any fixed type, or strings of some width, as bytes: for checks that are compiled once for all types.
struct AnyType {
    std::string name;
    uint8_t code;
    size_t width;

    std::string value(Random& random) const;
    Items<t_char> items(Random& random, size_t n) const;
    MakeSource operand(const Items<t_char>& items) const;
    MakeSource operand(Random& random, size_t n) const { return operand(items(random, n)); }
};
template <class T> AnyType any_type(size_t width = test_width<T>) { return {T::name, T::code, width}; }
std::vector<AnyType> all_types();  // the fixed types, and strings

// Parts of the numbered steps, stated literally on the records.

/// Refills one operand; `produced` elements are in the tile so far. False: *rc is to be returned, with QVO_S_OK
/// meaning that the tile ends here.
bool literal_refill(qvo_seq_iterator_h operand, size_t produced, QVO_RET* rc);
unsigned literal_run(const qvo_seq_iterator_t* it, size_t i);
void literal_put_run(qvo_seq_iterator_h it, size_t i, unsigned run);
void literal_put_counted(qvo_seq_iterator_h it, size_t i, unsigned run);  // and counts its positions
unsigned literal_run_left(const qvo_seq_iterator_t* it);
void literal_take(qvo_seq_iterator_h it, unsigned positions);
/// Copies element `from` of one tile to element `to` of another; the run is left alone.
void literal_copy(qvo_seq_iterator_h it, size_t to, const qvo_seq_iterator_t* operand, size_t from);
/// The bytes of an element, or of the current one.
std::string literal_bytes(const qvo_seq_iterator_t* it, size_t i);
inline std::string literal_bytes(const qvo_seq_iterator_t* it) { return literal_bytes(it, it->tile_offs); }
void literal_put_bytes(qvo_seq_iterator_h it, size_t i, const std::string& bytes);
/// What a call returns that has come to `rc` with so many elements: all are lost with an error.
QVO_RET literal_end(qvo_seq_iterator_h it, size_t produced, QVO_RET rc);

template <class V> V literal_value(const qvo_seq_iterator_t* it, size_t i) {
    V v;
    std::memcpy(&v, it->tile.u.arr_uint1 + i * sizeof v, sizeof v);
    return v;
}
template <class V> void literal_put(qvo_seq_iterator_h it, size_t i, V v) {
    std::memcpy(it->tile.u.arr_uint1 + i * sizeof v, &v, sizeof v);
}

/// Refills the operands and calls step(i), which says whether it has written result element i, until the tile is full
/// or holds `capacity` elements, or an operand ends. Elements are counted here, positions by the step.
enum class Counts { positions, elements };
QVO_RET literal_loop(qvo_seq_iterator_h it, size_t n_operands, const std::function<bool(size_t i)>& step,
                     Counts counts = Counts::positions, size_t capacity = SIZE_MAX);

/// The `next` of one operand that takes whole elements and delivers some, counting elements: element(i, k) writes
/// result element i from operand element k, its run as well, and says whether it did.
QVO_RET literal_selected_next(qvo_seq_iterator_h it, const std::function<bool(size_t i, size_t k)>& element);

/// The `next` of one operand that takes tiles whole: element(i) writes each result element, its run as well.
QVO_RET literal_tile_next(qvo_seq_iterator_h it, qvo_seq_iterator_h operand,
                          const std::function<void(size_t i)>& element);

/// The one-operand element-wise `next`; element(i, k) writes result element i from operand element k.
QVO_RET literal_elements_next(qvo_seq_iterator_h it, const std::function<void(size_t i, size_t k)>& element);

/// The `next` of several operands that delivers for some of their overlaps: element(i) writes result element i from the
/// operands' current elements and says whether it did.
QVO_RET literal_overlap_next(qvo_seq_iterator_h it, const std::function<bool(size_t i)>& element,
                             size_t n_operands = 2);

/// Draws an operand of `n` random elements.
using DrawOperand = std::function<MakeSource(Random&, size_t n)>;

/// Checks the member over random operands; element(it, i) writes each result element.
void check_overlaps(Member member, const std::vector<DrawOperand>& draw,
                    const std::function<void(qvo_seq_iterator_h it, size_t i)>& element, unsigned seeds = 12);
inline void check_binary(Member member, const DrawOperand& draw_left, const DrawOperand& draw_right,
                         const std::function<void(qvo_seq_iterator_h it, size_t i)>& element) {
    check_overlaps(std::move(member), {draw_left, draw_right}, element);
}

/// The same for a member of fixed types, against a model of its values, over all values or those of draw_right.
template <class V> V draw_value(Random& random) { return random.value<V>(); }
template <class T, class R, class Model>
void check_binary(const char* name, ConstructBinary construct, qvo_seq_iterator_next_t next, Model model,
                  const DrawValue<T>& draw_right = draw_value<typename T::value>) {
    using V = typename T::value;
    check_binary(
        binary_member(name, construct, next, R::code, R::width),
        [](Random& random, size_t n) { return operand<T>(random_items<T>(random, n)); },
        [=](Random& random, size_t n) { return operand<T>(random_items<T>(random, n, draw_right)); },
        [=](qvo_seq_iterator_h it, size_t i) {
            const qvo_seq_iterator_h a = it->opd[0], b = it->opd[1];
            const auto r = model(literal_value<V>(a, a->tile_offs), literal_value<V>(b, b->tile_offs));
            literal_put(it, i, static_cast<typename R::value>(r));
        });
}

/// Checks the member over `draw_operand(random, n)`, n random elements each, as check_binary does.
void check_unary(Member member, const DrawOperand& draw_operand,
                 const std::function<void(qvo_seq_iterator_h it, size_t i, size_t k)>& element);

/// A one-operand element-wise member against its model, over random values, runs, tile sizes and operand errors.
template <class T, class R, class Model>
void check_unary(const char* name, ConstructUnary construct, qvo_seq_iterator_next_t next, Model model,
                 const DrawValue<T>& draw = draw_value<typename T::value>) {
    check_unary(
        unary_member<R>(name, construct, next),
        [=](Random& random, size_t n) { return operand<T>(random_items<T>(random, n, draw)); },
        [=](qvo_seq_iterator_h it, size_t i, size_t k) {
            literal_put(it, i, static_cast<typename R::value>(model(literal_value<typename T::value>(it->opd[0], k))));
        });
}

}  // namespace test

/// A member's name, constructor and `next`, spelled once.
#define MEMBER(stem) #stem, stem, stem##_next
