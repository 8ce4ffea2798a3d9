#include "evaluate/expression.h"

#include <algorithm>
#include <cstring>

#include "evaluate/call.h"
#include "evaluate/source.h"

namespace qvo::value {
namespace {

// Building, pulling and freeing go down an expression on the stack, which threads may have little of.
constexpr unsigned most_depth = 200;

}  // namespace

std::shared_ptr<const Expression> Expression::of_stored(std::span<const uint8_t> bytes, Keep keep) {
    const Stored checked(bytes);
    auto expression = std::make_shared<Expression>();
    expression->kind_ = Kind::stored;
    expression->type_ = checked.type();
    expression->datum_ = Datum(bytes);
    expression->keep_ = std::move(keep);
    return expression;
}

std::shared_ptr<const Expression> Expression::of_array(const Array& array, Keep keep) {
    auto expression = std::make_shared<Expression>();
    expression->kind_ = Kind::array;
    expression->array_ = array;
    expression->type_ = array.type;
    expression->keep_ = std::move(keep);
    return expression;
}

int64_t RunArray::end(uint64_t i) const {
    const auto read = [&](auto width) {
        decltype(width) value;
        std::memcpy(&value, static_cast<const uint8_t*>(ends) + i * sizeof value, sizeof value);
        return int64_t{value};
    };
    return end_width == 2 ? read(int16_t{}) : end_width == 4 ? read(int32_t{}) : read(int64_t{});
}

std::shared_ptr<const Expression> Expression::of_runs(const RunArray& runs, Keep keep) {
    int64_t end = 0;
    for (uint64_t i = 0; i < runs.n_runs; ++i) {
        const int64_t before = end;
        end = runs.end(i);
        if (end <= before)
            throw Error(Fault::argument, "the ends of runs must ascend from 1, got " + std::to_string(end) + " after " +
                                             std::to_string(before));
    }
    const auto reached = static_cast<uint64_t>(end);
    if (runs.first > reached || runs.n > reached - runs.first)
        throw Error(Fault::argument, "the runs end at " + std::to_string(end) + ", before position " +
                                         std::to_string(runs.first) + " + " + std::to_string(runs.n));
    auto expression = std::make_shared<Expression>();
    expression->kind_ = Kind::runs;
    expression->runs_ = runs;
    expression->type_ = runs.type;
    expression->keep_ = std::move(keep);
    return expression;
}

std::shared_ptr<const Expression> Expression::of_scalar(const Datum& datum) {
    if (datum.kind == Datum::Kind::bytes)
        throw Error(Fault::argument, "a scalar must be a number or text, got " + described(datum));
    auto expression = std::make_shared<Expression>();
    expression->datum_ = datum;
    if (datum.kind == Datum::Kind::text) {
        expression->text_ = datum.text;
        expression->datum_.text = expression->text_;
    }
    return expression;
}

std::shared_ptr<const Expression> Expression::of_call(const Function& function,
                                                      std::vector<std::shared_ptr<const Expression>> arguments) {
    if (function.build == nullptr)
        throw Error(Fault::argument, std::string(function.name) + " does not make a sequence out of sequences");
    auto expression = std::make_shared<Expression>();
    for (const auto& argument : arguments) expression->depth_ = std::max(expression->depth_, argument->depth_ + 1);
    if (expression->depth_ > most_depth)
        throw Error(Fault::argument, "calls within calls may be at most " + std::to_string(most_depth) + " deep");
    expression->kind_ = Kind::call;
    expression->function_ = &function;
    expression->arguments_ = std::move(arguments);
    Plan plan({});
    plan.describe();
    expression->type_ = expression->build_function(plan).type;
    expression->type_is_known_ = plan.type_is_known();
    return expression;
}

ValueType Expression::type(Plan& plan) const {
    if (is_scalar()) throw Error(Fault::argument, "a scalar is not a sequence");
    return type_is_known_ || plan.describes() ? type_ : build(plan).type;
}

Series Expression::build(Plan& plan) const {
    if (!plan.describes() || is_scalar()) return build_source(plan);
    if (!type_is_known_) plan.type_depends_on_values();
    Series empty = array_source(plan, {type_, nullptr, 0});
    empty.length.reset();
    return empty;
}

Series Expression::build_source(Plan& plan) const {
    switch (kind_) {
        case Kind::stored:
            return stored_source(plan, Stored(datum_.bytes));
        case Kind::array:
            return array_source(plan, array_);
        case Kind::runs:
            return run_source(plan, runs_);
        case Kind::call:
            break;
        case Kind::scalar:
            throw Error(Fault::argument, "a scalar is not a sequence");
    }
    return build_function(plan);
}

Series Expression::build_function(Plan& plan) const {
    // The arguments live as long as the plan: operators may hold what they were given.
    std::vector<Argument>& arguments = plan.keep_arguments(arguments_.size());
    for (size_t i = 0; i < arguments_.size(); ++i)
        arguments[i] =
            arguments_[i]->is_scalar() ? Argument{arguments_[i]->datum_, nullptr} : Argument{{}, arguments_[i].get()};
    return build_call(*function_, arguments, plan);
}

}  // namespace qvo::value
