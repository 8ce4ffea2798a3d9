#include "evaluate/plan.h"

#include "core/construct.h"
#include "evaluate/arguments.h"

namespace qvo::value {
namespace {

QVO_RET run_operator(qvo_seq_iterator_h it) {
    Operator& op = *static_cast<Operator*>(it->buf);
    try {
        return op.next(it);
    } catch (Error& error) {
        error.name(op.function);
        op.plan->keep(std::current_exception());
        return failed_operator;
    } catch (...) {
        op.plan->keep(std::current_exception());
        return failed_operator;
    }
}

// A plan is evaluated once; nothing rewinds its iterators.
QVO_RET no_reset(qvo_seq_iterator_h) { return QVO_E_UNSUPPORTED; }

}  // namespace

ElementLayout layout_of_type(ValueType type) {
    if (type.type == Type::char_) return {QVO_DD_CHAR, type.width};
    return {with_fixed(type.type, [](auto tag) { return decltype(tag)::code; }), type.width};
}

Plan::Plan(const Limits& limits) : limits_(limits) {}
Plan::~Plan() = default;

std::vector<Argument>& Plan::keep_arguments(size_t n) {
    arguments_.push_back(std::make_unique<std::vector<Argument>>(n));
    return *arguments_.back();
}

qvo_seq_iterator_h Plan::iterator() {
    const size_t i = used_++;
    if (i < block) return &first_.records[i].it;
    if (i % block == 0) more_.push_back(std::unique_ptr<Records>(new Records));
    return &more_.back()->records[i % block].it;
}

qvo_seq_iterator_h Plan::own(ValueType type, std::unique_ptr<Operator> op) {
    qvo_seq_iterator_h it = iterator();
    fill_result(it, layout_of_type(type), {}, run_operator, no_reset);
    it->prepared = 0;
    it->owned_buf = 0;
    it->buf = op.get();
    op->plan = this;
    op->function = function_;
    operators_.push_back(std::move(op));
    return it;
}

void Plan::check_interrupt() const {
    if (limits_.interrupted != nullptr && limits_.interrupted(limits_.data) != 0)
        throw Error(Fault::interrupted, "interrupted");
}

void Plan::over_budget() const {
    throw Error(Fault::limit,
                "more than " + std::to_string(limits_.budget) + " positions in one call; seq_budget(n) allows more");
}

void Plan::fail(QVO_RET rc) {
    if (rc == failed_operator && fault_) std::rethrow_exception(std::exchange(fault_, nullptr));
    if (rc == QVO_E_NOMEM) throw std::bad_alloc();
    throw std::logic_error("an operator ended with code " + std::to_string(rc));
}

}  // namespace qvo::value
