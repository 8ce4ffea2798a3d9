#include "functions/keys.h"

#include <algorithm>
#include <numeric>
#include <stdexcept>

namespace qvo::value {

void check_key(const Arguments& row) {
    if (row.is_null(1)) row.refuse(1, "key must not be NULL");
    if (!row.is_scalar(1)) row.refuse(1, "key must be a number or text, got " + row.described(1));
}

void Keys::add_other(const Datum& key) {
    const bool integer = key.kind == Datum::Kind::integer;
    if (kind_ == Kind::none && key.is_number()) {
        kind_ = integer ? Kind::integers : Kind::reals;
        return add(key);
    }
    keys_.reserve(keys_.size() + numbers_.size() + 1);
    numbers_.for_each_block([this](const uint64_t* numbers, size_t n) {
        for (size_t i = 0; i < n; ++i) {
            Key& k = keys_.emplace_back();
            k.real = kind_ == Kind::reals;
            if (k.real)
                k.number = value_of_key<double>(numbers[i]);
            else
                k.integer = value_of_key<int64_t>(numbers[i]);
        }
    });
    numbers_ = {};
    kind_ = Kind::any;
    add_any(key);
}

void Keys::add_any(const Datum& key) {
    Key k;
    k.text = key.kind == Datum::Kind::text;
    k.real = key.kind == Datum::Kind::real;
    if (k.text) {
        k.offset = pool_.size();
        k.size = key.text.size();
        pool_ += key.text;
    } else if (k.real) {
        k.number = key.real;
    } else {
        k.integer = key.integer;
    }
    if (ascending_ && !keys_.empty() && below(k, keys_.back())) ascending_ = false;
    keys_.push_back(k);
}

bool Keys::below(const Key& a, const Key& b) const {
    if (a.text && b.text) return text(a) < text(b);
    if (a.text || b.text) return b.text;
    const auto scalar = [](const Key& key) {
        Scalar s = scalar_of({key.real ? Type::double_ : Type::int8, 8});
        if (key.real)
            s.real = key.number;
        else
            s.integer = key.integer;
        return s;
    };
    return compare(scalar(a), scalar(b)) < 0;
}

/// Numbers that are in order wherever the keys are, if all are text: the bytes after those that all of them begin with.
std::vector<uint64_t> Keys::words() const {
    size_t common = keys_[0].size;
    for (const Key& key : keys_) {
        if (!key.text) return {};
        const std::string_view first = text(keys_[0]).substr(0, common), here = text(key);
        const auto differs = std::mismatch(first.begin(), first.end(), here.begin(), here.end());
        common = static_cast<size_t>(differs.first - first.begin());
    }
    std::vector<uint64_t> words;
    words.reserve(keys_.size());
    for (const Key& key : keys_) {
        const std::string_view rest = text(key).substr(common);
        uint64_t word = 0;
        std::memcpy(&word, rest.data(), std::min(rest.size(), sizeof word));
        words.push_back(__builtin_bswap64(word));
    }
    return words;
}

Order Keys::order(Plan& plan) const {
    const size_t n = size();
    if (ascending_) return Order(n);
    if (n > ~uint32_t{0}) throw std::length_error("more rows than there are indexes");
    if (kind_ != Kind::any) return stable_order(plan, numbers_.copy().get(), n);
    const std::vector<uint64_t> words = this->words();
    const Order by_words = words.empty() ? Order(n) : stable_order(plan, words.data(), n);
    std::unique_ptr<uint32_t[]> rows(new uint32_t[n]);
    for (size_t i = 0; i < n; ++i) rows[i] = static_cast<uint32_t>(by_words.at(i));
    for (size_t i = 0; i < n;) {
        size_t end = words.empty() ? n : i + 1;
        while (end < n && words[rows[end]] == words[rows[i]]) ++end;
        std::stable_sort(rows.get() + i, rows.get() + end,
                         [&](uint32_t a, uint32_t b) { return below(keys_[a], keys_[b]); });
        i = end;
    }
    return {n, std::move(rows)};
}

}  // namespace qvo::value
