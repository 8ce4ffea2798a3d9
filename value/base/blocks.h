// A column that grows by blocks, each as long as all before it: what has been added is never moved, and memory that is
// new, which costs more than writing to it, is taken once.
#pragma once

#include <algorithm>
#include <bit>
#include <memory>
#include <type_traits>
#include <vector>

#include "base/pages.h"

namespace qvo::value {

template <class T> class Blocks {
    static_assert(std::is_trivially_copyable_v<T>);

 public:
    size_t size() const { return begin_ + static_cast<size_t>(next_ - block_); }

    void push_back(T value) {
        if (next_ == end_) [[unlikely]]
            grow();
        *next_++ = value;
    }

    T operator[](size_t i) const { return *place_of(i); }
    T& operator[](size_t i) { return *place_of(i); }

    /// Calls f(values, n) for all, in order.
    template <class F> void for_each_block(F f) const {
        for (size_t k = 0; k < blocks_.size(); ++k) f(blocks_[k].get(), std::min(size() - begin_of(k), length_of(k)));
    }
    /// All of them, one after the other.
    std::unique_ptr<T[]> copy() const {
        std::unique_ptr<T[]> all(new T[size()]);
        prefer_large_pages(all.get(), size() * sizeof(T));
        T* to = all.get();
        for_each_block([&](const T* values, size_t n) { to = std::copy_n(values, n, to); });
        return all;
    }

 private:
    static constexpr size_t first = 64;
    static size_t begin_of(size_t block) { return block == 0 ? 0 : first << (block - 1); }
    static size_t length_of(size_t block) { return block == 0 ? first : begin_of(block); }

    T* place_of(size_t i) const {
        const auto block = static_cast<size_t>(std::bit_width(i / first));
        return blocks_[block].get() + (i - begin_of(block));
    }

    [[gnu::noinline]] void grow() {
        const size_t n = length_of(blocks_.size());
        std::unique_ptr<T[]> block(new T[n]);
        prefer_large_pages(block.get(), n * sizeof(T));
        blocks_.push_back(std::move(block));
        begin_ = begin_of(blocks_.size() - 1);
        block_ = next_ = blocks_.back().get();
        end_ = block_ + n;
    }

    std::vector<std::unique_ptr<T[]>> blocks_;
    size_t begin_ = 0;  // of the last block
    T *block_ = nullptr, *next_ = nullptr, *end_ = nullptr;
};

}  // namespace qvo::value
