#include "functions/inputs.h"

#include "operators/runs_apart.h"

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
        arguments.refuse(0, "at least one argument must be a sequence, got " + arguments.described(0), Fault::type);
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

bool Inputs::has_runs(size_t i) const {
    if (inputs_[i].scalar || !arguments_.is_directly_stored(i)) return false;
    const Stored& stored = arguments_.stored(i);
    return 2 * stored.elements() <= stored.positions();
}

Series Inputs::compute(BinaryConstructor construct, ValueType result, ValueType each) {
    Plan& plan = arguments_.plan();
    Series x = as(0, each), y = as(1, each);
    if (x.constant != y.constant && has_runs(x.constant ? 1 : 0)) {
        Series& with_runs = x.constant ? y : x;
        const RunsApart apart(plan, with_runs);
        with_runs = apart.values();
        return apart.with_runs(wire(plan, construct, x, y, result, std::nullopt));
    }
    const Series both[] = {x, y};
    return with_equal_lengths(plan, wire(plan, construct, x, y, result, common_length(both)), both);
}

}  // namespace qvo::value
