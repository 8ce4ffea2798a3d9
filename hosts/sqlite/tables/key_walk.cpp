// The way of a cursor through the keys that are wanted. Where values of all of them are given, it does not visit the
// keys that are there one by one, nor all the choices: there may be very many of either.
#include <algorithm>

#include "tables/selection.h"

namespace qvo::sqlite {

bool KeyWalk::is_one_key() const {
    return std::all_of(selection_->key_values.begin(), selection_->key_values.end(),
                       [](const auto& values) { return values->size() == 1; });
}

Key KeyWalk::chosen() const {
    Key key;
    for (size_t slot = 0; slot < chosen_.size(); ++slot) key += values(slot)[chosen_[slot]];
    return key;
}

/// Goes to the next choice of values in the first `slots`, and to the first ones in the others; false after the last.
bool KeyWalk::choose_next(size_t slots) {
    std::fill(chosen_.begin() + static_cast<std::ptrdiff_t>(slots), chosen_.end(), 0);
    while (slots-- > 0) {
        if (++chosen_[slots] < values(slots).size()) return true;
        chosen_[slots] = 0;
    }
    return false;
}

/// Goes to the first choice that is not before a key; false if all are.
bool KeyWalk::choose_from(const Key& key) {
    const Declaration& declaration = store_->declaration();
    for (size_t slot = 0, at = 0; slot < chosen_.size(); ++slot) {
        const Column& column = declaration.key_column(slot);
        const std::string_view value = std::string_view(key).substr(at, size_of_value(column, key, at));
        const auto before = [&](std::string_view a, std::string_view b) { return compare_values(column, a, b) < 0; };
        const auto found = std::lower_bound(values(slot).begin(), values(slot).end(), value, before);
        if (found == values(slot).end()) return choose_next(slot);
        chosen_[slot] = static_cast<size_t>(found - values(slot).begin());
        if (*found != value) {
            std::fill(chosen_.begin() + static_cast<std::ptrdiff_t>(slot) + 1, chosen_.end(), 0);
            return true;
        }
        at += value.size();
    }
    return true;
}

/// Keys that are there and choices that are wanted, in turns: each look-up passes over all that lies between.
std::optional<Key> KeyWalk::next_given() {
    while (!at_end_) {
        const Key wanted = chosen();
        std::optional<Key> found = store_->key_from(wanted);
        at_end_ = !found || !(*found == wanted ? choose_next(chosen_.size()) : choose_from(*found));
        if (found && *found == wanted) return found;
    }
    return {};
}

const Key* KeyWalk::next() {
    if (at_end_ || selection_->nothing) return nullptr;
    if (!selection_->gives_keys()) {
        do {
            key_ = store_->next_key(key_ ? &*key_ : nullptr);
            at_end_ = !key_;
        } while (!at_end_ && !selection_->matches(store_->declaration(), *key_));
    } else if (is_one_key()) {
        at_end_ = true;
        key_ = chosen();
    } else {
        key_ = next_given();
    }
    return key_ ? &*key_ : nullptr;
}

}  // namespace qvo::sqlite
