#include "functions/inputs.h"

namespace qvo::value {

Inputs::Inputs(Arguments& arguments, size_t n) : arguments_(arguments), n_(std::min(n, arguments.size())) {
    bool any_timestamp = false, any_sequence = false;
    for (size_t i = 0; i < n_; ++i) {
        Input& input = inputs_[i];
        input.scalar = arguments.is_scalar(i);
        if (input.scalar) continue;
        input.series = arguments.series(i);
        input.type = input.series.type;
        any_sequence = true;
        any_timestamp |= input.type.type == Type::timestamp;
    }
    if (!any_sequence)
        arguments.refuse(0, "at least one argument must be a sequence, got " + described(arguments.datum(0)),
                         Fault::type);
    for (size_t i = 0; i < n_; ++i)
        if (inputs_[i].scalar) {
            const Datum& datum = arguments.datum(i);
            inputs_[i].type = datum.kind == Datum::Kind::text && any_timestamp ? value::type_of(Type::timestamp)
                                                                               : value::type_of(datum);
        }
}

void Inputs::refuse(size_t i, const std::string& wanted) const {
    const std::string name(arguments_.function().parameters[i].name);
    const std::string came =
        inputs_[i].scalar ? described(arguments_.datum(i)) : "a sequence of " + name_of(inputs_[i].type);
    arguments_.refuse(i, name + " must be " + wanted + ", got " + came, Fault::type);
}

ValueType Inputs::meeting_type(size_t first) const {
    ValueType type = inputs_[first].type;
    for (size_t i = first + 1; i < n_; ++i) {
        const std::optional<ValueType> met = meet(type, inputs_[i].type);
        if (!met) refuse(i, "of a type that meets " + name_of(type));
        type = *met;
    }
    return type;
}

ValueType Inputs::computing_type() const {
    ValueType type = value::type_of(Type::int8);
    for (size_t i = 0; i < n_; ++i) {
        if (!is_number(inputs_[i].type.type)) refuse(i, "numbers");
        type = value::computing_type(type, inputs_[i].type);
    }
    return type;
}

Series Inputs::as(size_t i, ValueType type) {
    Plan& plan = arguments_.plan();
    if (inputs_[i].scalar) return constant_source(plan, arguments_.scalar(i, type));
    return widened(plan, inputs_[i].series, type);
}

}  // namespace qvo::value
