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

template <class T> MakeSource operand(Items<T> items, size_t width = Source::width_of<T>()) {
    return [=](Script script) { return std::make_unique<Source>(T{}, items, std::move(script), width); };
}

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
    bool aggregate = false;            // sets `prepared` to 0
    bool passes_errors = true;         // returns the errors of its operands
    bool own_refusals = false;         // checks its operands in another way, which has tests of its own
    bool endless = false;              // never ends, whatever its operands do
    std::vector<bool> type_checked;    // per operand; none: all
    std::vector<bool> bound;           // per operand, whether it is checked and marked; none: all
    std::vector<bool> stops_on_empty;  // per operand, whether an empty tile is the fatal stop; none: all
};

/// The constructor's checks in their order and what each leaves; the fields of the result; the end that lasts; an
/// operand's error passed on; the fatal stop with and without tracing; reset in mid-stream and at the end.
void check_protocol(const Member& member);

/// Everything in two records but pointers is the same: the tile with its bytes behind the last element as well.
void expect_same_record(const qvo_seq_iterator_t& actual, const qvo_seq_iterator_t& expected, const std::string& what);

/// One run of a member against a literal statement of its `next`, on operands of the same scripts: after every call
/// the code, the record, the operands' read positions and the number of their `next` calls are the same.
/// `literal` is called with the model's record, which starts as a copy of the constructed one. `before` may read from
/// the operands first, so that they start in mid-tile. A member that may never end is given a number of calls.
void check_steps(const Member& member, const std::function<QVO_RET(qvo_seq_iterator_h)>& literal,
                 const std::vector<Script>& scripts,
                 const std::function<void(const Member::Operands&)>& before = nullptr, unsigned most_calls = 10000);

// Parts of the numbered steps, stated literally on the records.

/// Refills one operand; `produced` elements are in the tile so far. False: *rc is to be returned, with QVO_S_OK
/// meaning that the tile ends here.
bool literal_refill(qvo_seq_iterator_h operand, size_t produced, QVO_RET* rc);
unsigned literal_run(const qvo_seq_iterator_t* it, size_t i);
void literal_put_run(qvo_seq_iterator_h it, size_t i, unsigned run);
unsigned literal_run_left(const qvo_seq_iterator_t* it);
void literal_take(qvo_seq_iterator_h it, unsigned positions);
/// Copies element `from` of one tile to element `to` of another; the run is left alone.
void literal_copy(qvo_seq_iterator_h it, size_t to, const qvo_seq_iterator_t* operand, size_t from);

template <class V> V literal_value(const qvo_seq_iterator_t* it, size_t i) {
    V v;
    std::memcpy(&v, it->tile.u.arr_uint1 + i * sizeof v, sizeof v);
    return v;
}
template <class V> void literal_put(qvo_seq_iterator_h it, size_t i, V v) {
    std::memcpy(it->tile.u.arr_uint1 + i * sizeof v, &v, sizeof v);
}

/// The two-operand element-wise `next`; element(i) writes result element i from the operands' current elements.
QVO_RET literal_overlap_next(qvo_seq_iterator_h it, const std::function<void(size_t i)>& element);

using ConstructBinary = QVO_RET (*)(qvo_seq_iterator_h, qvo_seq_iterator_h, qvo_seq_iterator_h);

/// A two-operand element-wise member without parameters, as far as it is known without its name.
Member binary_member(const char* name, ConstructBinary construct, qvo_seq_iterator_next_t next, uint8_t type,
                     size_t width);

/// Draws an operand of `n` random elements.
using DrawOperand = std::function<MakeSource(Random&, size_t n)>;

/// Checks the member over random runs, tile sizes and operand errors; element(it, i) as above.
void check_binary(Member member, const DrawOperand& draw_left, const DrawOperand& draw_right,
                  const std::function<void(qvo_seq_iterator_h it, size_t i)>& element);

/// The same for a member of fixed types, against a model of its values.
template <class T, class R, class Model, class Draw>
void check_binary(const char* name, ConstructBinary construct, qvo_seq_iterator_next_t next, Model model,
                  Draw draw_right) {
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

template <class V> V draw_value(Random& random) { return random.value<V>(); }

template <class T, class R, class Model>
void check_binary(const char* name, ConstructBinary construct, qvo_seq_iterator_next_t next, Model model) {
    check_binary<T, R>(name, construct, next, model, draw_value<typename T::value>);
}

/// The one-operand element-wise `next`; element(i, k) writes result element i from operand element k.
QVO_RET literal_elements_next(qvo_seq_iterator_h it, const std::function<void(size_t i, size_t k)>& element);

/// A one-operand element-wise member without parameters, as far as it is known without its name.
template <class R>
Member unary_member(const char* name, QVO_RET (*construct)(qvo_seq_iterator_h, qvo_seq_iterator_h),
                    qvo_seq_iterator_next_t next) {
    Member member;
    member.name = name;
    member.construct = [=](qvo_seq_iterator_h it, const Member::Operands& o) { return construct(it, o[0]); };
    member.type = R::code;
    member.width = R::width;
    member.next = next;
    member.reset = qvo_seq_reset_unary_iterator;
    return member;
}

/// Checks the member over `draw_operand(random, n)`, n random elements each, as check_binary does.
void check_unary(Member member, const DrawOperand& draw_operand,
                 const std::function<void(qvo_seq_iterator_h it, size_t i, size_t k)>& element);

/// A one-operand element-wise member against its model, over random values, runs, tile sizes and operand errors.
template <class T, class R, class Model, class Draw>
void check_unary(const char* name, QVO_RET (*construct)(qvo_seq_iterator_h, qvo_seq_iterator_h),
                 qvo_seq_iterator_next_t next, Model model, Draw draw) {
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
