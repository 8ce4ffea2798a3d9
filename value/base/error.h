// Errors of the value layer. Everything above the operator library throws them; they end at the C interface, which
// turns them into a code and a sentence. Exhausted memory is std::bad_alloc, here as everywhere.
#pragma once

#include <exception>
#include <string>
#include <string_view>

namespace qvo::value {

/// What an error is about, for hosts that have classes of errors.
enum class Fault {
    argument,     // a value, length or position that the function does not accept
    type,         // a kind of argument, or a type of sequence, that it does not accept; a wrong number of arguments
    value,        // bytes that are not a stored sequence, or are damaged
    overflow,     // a result that its type cannot hold
    limit,        // more positions than the budget allows
    interrupted,  // the host asked for an end
};

/// An error: one sentence without the name of the function, which is put before it where the call ends. Within nested
/// calls the function that failed is noted here.
class Error : public std::exception {
 public:
    Error(Fault fault, std::string sentence) : fault_(fault), sentence_(std::move(sentence)) {}
    Fault fault() const { return fault_; }
    const char* what() const noexcept override { return sentence_.c_str(); }

    std::string_view function() const { return function_; }
    /// Notes the function, unless one closer to the fault has been noted.
    void name(std::string_view function) {
        if (function_.empty()) function_ = function;
    }

 private:
    Fault fault_;
    std::string sentence_;
    std::string_view function_;  // of the catalog, which is static
};

}  // namespace qvo::value
