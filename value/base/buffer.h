// Bytes that grow and can be handed over to a host, which frees them with qvo_value_free.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <span>

#include "base/pages.h"

namespace qvo::value {

class Buffer {
 public:
    Buffer() = default;
    explicit Buffer(std::span<const uint8_t> bytes) { append(bytes.data(), bytes.size()); }

    uint8_t* data() { return bytes_.get(); }
    const uint8_t* data() const { return bytes_.get(); }
    size_t size() const { return size_; }
    std::span<const uint8_t> bytes() const { return {bytes_.get(), size_}; }

    /// Makes room for `more` bytes after the present ones.
    void reserve(size_t more) {
        if (capacity_ - size_ < more) grow(size_ + more);
    }
    /// Adds n bytes whose values are the caller's to set, and returns where they begin.
    uint8_t* extend(size_t n) {
        reserve(n);
        uint8_t* const at = bytes_.get() + size_;
        size_ += n;
        return at;
    }
    void append(const void* from, size_t n) {
        if (n != 0) std::memcpy(extend(n), from, n);
    }
    void resize(size_t n) {
        if (n > size_)
            extend(n - size_);
        else
            size_ = n;
    }

    /// Gives the bytes away. They were allocated by operator new.
    uint8_t* release() {
        size_ = capacity_ = 0;
        return bytes_.release();
    }

 private:
    struct Free {
        void operator()(uint8_t* bytes) const { ::operator delete(bytes); }
    };
    void grow(size_t at_least) {
        const size_t capacity = std::max(at_least, 2 * capacity_);
        std::unique_ptr<uint8_t, Free> bytes(static_cast<uint8_t*>(::operator new(capacity)));
        prefer_large_pages(bytes.get(), capacity);
        if (size_ != 0) std::memcpy(bytes.get(), bytes_.get(), size_);
        bytes_ = std::move(bytes);
        capacity_ = capacity;
    }

    std::unique_ptr<uint8_t, Free> bytes_;
    size_t size_ = 0, capacity_ = 0;
};

}  // namespace qvo::value
