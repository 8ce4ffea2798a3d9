// The latest results as plain values, for hosts in which the result of one call is an argument of the next: what has just
// been encoded is not verified and decoded again.
//
// A result is known by where its bytes lie and by its header, which holds a checksum of the checksums of all there is. So
// nobody has to say when bytes are freed: what lies there afterwards has another header, or the same values.
#pragma once

#include <array>
#include <optional>

#include "base/buffer.h"
#include "evaluate/expression.h"
#include "stored/format.h"

namespace qvo::value {

class Recent {
 public:
    /// The values of a stored sequence, if it is one of the latest results. They stay until the next call of `keep`.
    std::optional<Array> find(std::span<const uint8_t> bytes) const {
        for (const Result& result : results_)
            if (result.size != 0 && result.size == bytes.size() && result.bytes == bytes.data() &&
                std::memcmp(&result.header, bytes.data(), sizeof result.header) == 0)
                return Array{result.type, result.values.data(), result.values.size() / result.type.width};
        return {};
    }
    /// Adds a result, in place of the oldest; if its values were at hand and are worth it.
    void keep(const Buffer& stored, ValueType type, Buffer values) {
        if (values.size() < least_bytes) return;
        Result& result = results_[next_];
        next_ = (next_ + 1) % results_.size();
        result.bytes = stored.data();
        result.size = stored.size();
        std::memcpy(&result.header, stored.data(), sizeof result.header);
        result.type = type;
        result.values = std::move(values);
    }

 private:
    static constexpr size_t least_bytes = 1024;  // of values; few are as soon decoded
    struct Result {
        const uint8_t* bytes = nullptr;
        size_t size = 0;
        format::Header header{};
        ValueType type;
        Buffer values;  // at most those of one tile
    };
    std::array<Result, 4> results_;  // more than most calls have arguments that were computed just before them
    size_t next_ = 0;
};

}  // namespace qvo::value
