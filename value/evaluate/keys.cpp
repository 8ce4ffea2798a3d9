#include "evaluate/keys.h"

#include <algorithm>
#include <numeric>

namespace qvo::value {

void Keys::add(const Datum& key) {
    Key k;
    switch (key.kind) {
        case Datum::Kind::integer:
            k.integer = key.integer;
            break;
        case Datum::Kind::real:
            k.real = true;
            k.number = key.real;
            break;
        default:
            k.text = true;
            k.offset = pool_.size();
            k.size = key.text.size();
            pool_ += key.text;
    }
    if (ascending_ && !keys_.empty() && below(k, keys_.back())) ascending_ = false;
    keys_.push_back(k);
}

Scalar Keys::scalar(const Key& key) const {
    Scalar s = scalar_of({key.real ? Type::double_ : Type::int8, 8});
    if (key.real)
        s.real = key.number;
    else
        s.integer = key.integer;
    return s;
}

bool Keys::below(const Key& a, const Key& b) const {
    if (a.text || b.text) {
        if (!a.text || !b.text) return b.text && !a.text;
        return std::string_view(pool_).substr(a.offset, a.size) < std::string_view(pool_).substr(b.offset, b.size);
    }
    if (!a.real && !b.real) return a.integer < b.integer;
    return compare(scalar(a), scalar(b)) < 0;
}

std::vector<size_t> Keys::order() const {
    std::vector<size_t> rows(keys_.size());
    std::iota(rows.begin(), rows.end(), size_t{0});
    if (!ascending_)
        std::stable_sort(rows.begin(), rows.end(), [&](size_t a, size_t b) { return below(keys_[a], keys_[b]); });
    return rows;
}

}  // namespace qvo::value
