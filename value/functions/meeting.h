// The type in which the rows of a group meet, and the states of one function: row after row, so that it can widen on
// the way, and what is held of the rows before with it.
#pragma once

#include "base/error.h"
#include "evaluate/arguments.h"
#include "evaluate/state.h"
#include "operators/convert.h"

namespace qvo::value {

class Meeting {
 public:
    /// The type of a row's first argument meets those of the rows before. An error if it does not.
    ValueType add_row(const Arguments& row, ValueType type) {
        const std::optional<ValueType> met = met_with(type);
        if (!met) row.refuse_type(0, "that meets " + name_of(*type_), type);
        return *(type_ = met);
    }
    ValueType add_state(ValueType type) {
        const std::optional<ValueType> met = met_with(type);
        if (!met)
            throw Error(Fault::argument,
                        "argument 1: states over " + name_of(*type_) + " and " + name_of(type) + " do not meet");
        return *(type_ = met);
    }
    /// None before the first row.
    const std::optional<ValueType>& type() const { return type_; }

    void save(Buffer& to) const {
        put(to, uint8_t{type_.has_value()});
        if (type_) put(to, *type_);
    }
    /// The type that was saved; it is not added yet.
    static std::optional<ValueType> take(StateReader& in) {
        if (in.take<uint8_t>() == 0) return std::nullopt;
        const auto type = in.take<uint8_t>();
        const auto width = in.take<uint8_t>();
        if (type >= n_types || width == 0) StateReader::damaged();
        const ValueType taken{static_cast<Type>(type), width};
        if (taken.type != Type::char_ && taken != type_of(taken.type)) StateReader::damaged();
        return taken;
    }

 private:
    std::optional<ValueType> met_with(ValueType type) const { return type_ ? meet(*type_, type) : type; }
    std::optional<ValueType> type_;
};

}  // namespace qvo::value
