#include "evaluate/arguments.h"

#include <cmath>

#include "base/text.h"
#include "evaluate/deliver.h"
#include "evaluate/expression.h"
#include "evaluate/recent.h"
#include "evaluate/scalar.h"
#include "evaluate/source.h"

namespace qvo::value {
namespace {

bool accepts(Of of, Type type) {
    switch (of) {
        case Of::any:
            return true;
        case Of::number:
            return is_number(type);
        case Of::ordered_number:
            return is_number(type) || type == Type::timestamp;
        case Of::floating:
            return is_floating(type);
        case Of::integer:
            return is_integer(type);
        case Of::boolean:
            return type == Type::boolean;
        case Of::timestamp:
            return type == Type::timestamp;
        case Of::text:
            return type == Type::char_;
    }
    return false;
}

std::string_view name_of(Of of) {
    switch (of) {
        case Of::any:
            return "";
        case Of::number:
            return " of numbers";
        case Of::ordered_number:
            return " of numbers or timestamps";
        case Of::floating:
            return " of float or double";
        case Of::integer:
            return " of integers";
        case Of::boolean:
            return " of boolean";
        case Of::timestamp:
            return " of timestamp";
        case Of::text:
            return " of char";
    }
    return "";
}

std::string wanted(const Parameter& p) {
    switch (p.takes) {
        case Takes::sequence:
            return "a sequence" + std::string(name_of(p.of));
        case Takes::operand:
            return "a sequence" + std::string(name_of(p.of)) + ", or a scalar";
        case Takes::scalar:
            return "a number or text";
        case Takes::integer:
            return "an integer";
        case Takes::real:
            return "a number";
        case Takes::text:
            return "text";
        case Takes::bytes:
            return "a blob";
        case Takes::nullable:
            break;
    }
    return "a value";
}

bool kind_fits(Takes takes, Datum::Kind kind) {
    using enum Datum::Kind;
    switch (takes) {
        case Takes::sequence:
        case Takes::bytes:
            return kind == bytes;
        case Takes::operand:
        case Takes::nullable:
            return true;
        case Takes::scalar:
            return kind != bytes;
        case Takes::integer:
            return kind == integer;
        case Takes::real:
            return kind == integer || kind == real;
        case Takes::text:
            return kind == text;
    }
    return false;
}

bool fits(const Parameter& p, const Argument& argument) {
    if (argument.expression != nullptr)
        return p.takes == Takes::sequence || p.takes == Takes::operand || p.takes == Takes::nullable;
    const Datum& d = argument.datum;
    if (!kind_fits(p.takes, d.kind)) return false;
    if (p.takes == Takes::real) return d.kind == Datum::Kind::integer || !std::isnan(d.real);
    return p.takes != Takes::integer || (p.lowest <= d.integer && d.integer <= p.highest);
}

}  // namespace

std::string described(const Datum& datum) {
    switch (datum.kind) {
        case Datum::Kind::null:
            return "NULL";
        case Datum::Kind::integer:
            return std::to_string(datum.integer);
        case Datum::Kind::real:
            return shown(datum.real);
        case Datum::Kind::text:
            return "text " + shown(datum.text);
        case Datum::Kind::bytes:
            break;
    }
    try {
        return "a sequence of " + name_of(Stored(datum.bytes).type());
    } catch (const Error&) {
        return "a blob of " + std::to_string(datum.bytes.size()) + " bytes that is not a sequence";
    }
}

ValueType type_of(const Datum& datum) {
    if (datum.kind == Datum::Kind::integer) return type_of(Type::int8);
    if (datum.kind == Datum::Kind::text) return char_of(std::clamp<size_t>(datum.text.size(), 1, max_char));
    return type_of(Type::double_);
}

Arguments::Arguments(const Function& function, std::span<const Argument> arguments, Plan& plan)
    : function_(function), arguments_(arguments), plan_(plan) {
    if (!function.takes(arguments.size()))
        throw Error(Fault::type, "wrong number of arguments: " + std::to_string(arguments.size()));
    for (size_t i = 0; i < arguments.size(); ++i) {
        if (is_null(i))
            any_null_ |= parameter(i).takes != Takes::nullable;
        else if (!fits(parameter(i), arguments_[i]))
            refuse_argument(i);
    }
}

const Parameter& Arguments::parameter(size_t i) const {
    return function_.parameters[function_.repeats ? std::min(i, function_.n_parameters() - 1) : i];
}

std::string Arguments::described(size_t i) const {
    return arguments_[i].expression != nullptr ? "a sequence" : value::described(datum(i));
}

void Arguments::refuse(size_t i, const std::string& sentence, Fault fault) const {
    throw Error(fault, "argument " + std::to_string(i + 1) + ": " + sentence);
}

void Arguments::refuse_type(size_t i, const std::string& wanted, ValueType came) const {
    refuse(i, std::string(parameter(i).name) + " must be a sequence " + wanted + ", got a sequence of " + name_of(came),
           Fault::type);
}

void Arguments::refuse_argument(size_t i) const {
    const Parameter& p = parameter(i);
    const Datum& d = datum(i);
    const std::string name(p.name);
    if (arguments_[i].expression != nullptr || !kind_fits(p.takes, d.kind))
        refuse(i, name + " must be " + wanted(p) + ", got " + described(i), Fault::type);
    if (p.takes == Takes::real) refuse(i, name + " must be a number, got NaN");
    const bool low = d.integer < p.lowest;
    refuse(i, name + " must be at " + (low ? "least " : "most ") + std::to_string(low ? p.lowest : p.highest) +
                  ", got " + described(i));
}

void Arguments::check_type(size_t i, ValueType type) const {
    const Parameter& p = parameter(i);
    if (accepts(p.of, type.type)) return;
    refuse(i,
           std::string(p.name) + " must be " + wanted(p) + ", got a sequence of " + name_of(type) +
               (p.of == Of::text || type.type == Type::char_ ? "" : "; cast converts it"),
           Fault::type);
}

double Arguments::real(size_t i) const {
    return datum(i).kind == Datum::Kind::integer ? static_cast<double>(datum(i).integer) : datum(i).real;
}

Series Arguments::series(size_t i) {
    Series series;
    if (const Expression* expression = arguments_[i].expression; expression != nullptr)
        series = expression->build(plan_);
    else if (const std::optional<Array> values = recent_values(i))
        series = array_source(plan_, *values);
    else
        series = stored_source(plan_, stored(i));
    check_type(i, series.type);
    return series;
}

std::optional<Array> Arguments::recent_values(size_t i) const {
    const Recent* const recent = plan_.limits().recent;
    if (recent == nullptr || plan_.describes()) return {};
    const std::optional<Array> values = recent->find(datum(i).bytes);
    return values && plan_.allows(values->n) ? values : std::nullopt;
}

const Array* Arguments::array(size_t i) const {
    return arguments_[i].expression == nullptr || plan_.describes() ? nullptr : arguments_[i].expression->array();
}

ValueType Arguments::type(size_t i) {
    return arguments_[i].expression == nullptr ? stored(i).type() : arguments_[i].expression->type(plan_);
}

const Stored& Arguments::stored(size_t i) {
    if (!stored_) stored_.emplace();
    std::optional<Stored>& stored = (*stored_)[i];
    if (stored) return *stored;
    std::span<const uint8_t> bytes = datum(i).bytes;
    if (const Expression* expression = arguments_[i].expression; expression != nullptr) {
        if (expression->is_stored() && !plan_.describes()) {
            bytes = expression->datum().bytes;
        } else {
            bytes = plan_.keep_bytes(to_stored(plan_, expression->build(plan_)));
        }
    }
    try {
        stored.emplace(bytes);
    } catch (const Error& error) {
        refuse(i, std::string(parameter(i).name) + " must be " + wanted(parameter(i)) + ": " + error.what());
    }
    check_type(i, stored->type());
    return *stored;
}

Scalar Arguments::scalar(size_t i, ValueType type) const {
    std::string fault;
    if (const std::optional<Scalar> fitted = fit(datum(i), type, fault)) return *fitted;
    refuse(i, fault);
}

Series Arguments::operand(size_t i) {
    if (!is_scalar(i)) return series(i);
    const ValueType type = type_of(datum(i));
    return constant_source(plan_, scalar(i, type));
}

}  // namespace qvo::value
