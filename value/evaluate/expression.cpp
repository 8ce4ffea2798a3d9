#include "evaluate/expression.h"

#include <algorithm>

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
    expression->datum_ = datum_of(bytes);
    expression->keep_ = std::move(keep);
    return expression;
}

std::shared_ptr<const Expression> Expression::of_array(const Array& array, Keep keep) {
    auto expression = std::make_shared<Expression>();
    expression->kind_ = Kind::array;
    expression->array_ = array;
    expression->keep_ = std::move(keep);
    return expression;
}

std::shared_ptr<const Expression> Expression::of_scalar(const Datum& datum) {
    if (datum.kind == Datum::Kind::bytes)
        throw Error(Fault::argument, "a scalar must be a number or text, got " + described(datum));
    auto expression = std::make_shared<Expression>();
    expression->text_ = datum.text;
    expression->datum_ = datum;
    expression->datum_.text = expression->text_;
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
    return expression;
}

Series Expression::build(Plan& plan) const {
    switch (kind_) {
        case Kind::stored:
            return stored_source(plan, Stored(datum_.bytes));
        case Kind::array:
            return array_source(plan, array_);
        case Kind::call:
            break;
        case Kind::scalar:
            throw Error(Fault::argument, "a scalar is not a sequence");
    }
    // The arguments live as long as the plan: operators may hold what they were given.
    std::vector<Argument>& arguments = plan.keep_arguments(arguments_.size());
    for (size_t i = 0; i < arguments_.size(); ++i)
        arguments[i] =
            arguments_[i]->is_scalar() ? Argument{arguments_[i]->datum_, nullptr} : Argument{{}, arguments_[i].get()};
    return build_call(*function_, arguments, plan);
}

}  // namespace qvo::value
