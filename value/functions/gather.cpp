#include "functions/gather.h"

#include <cmath>
#include <limits>

#include "base/text.h"
#include "evaluate/arguments.h"
#include "evaluate/deliver.h"
#include "evaluate/keys.h"
#include "evaluate/scalar.h"
#include "evaluate/source.h"
#include "operators/convert.h"

namespace qvo::value {
namespace {

/// The key of a row; its absence must be that of all rows.
void add_key(Keys& keys, const Arguments& row) {
    if (!row.has(1)) return;
    if (row.is_null(1)) row.refuse(1, "key must not be NULL");
    if (!row.is_scalar(1)) row.refuse(1, "key must be a number or text, got " + described(row.datum(1)));
    keys.add(row.datum(1));
}

/// Neither has a state that travels: what they hold is all of their rows.
class Gathering : public Aggregate {
 public:
    void save(Buffer&) const override { throw Error(Fault::argument, "argument 1: pack and join have no state"); }
    void merge(StateReader&) override { save_nothing(); }

 protected:
    [[noreturn]] static void save_nothing() { throw Error(Fault::argument, "argument 1: pack and join have no state"); }
    /// The rows in the order of their keys.
    std::vector<size_t> order(size_t n) const {
        std::vector<size_t> rows = keys_.order();
        for (size_t i = rows.size(); i < n; ++i) rows.push_back(i);
        return rows;
    }
    Keys keys_;
};

/// The values as eight bytes each: integers, or doubles from the first real on; text in a pool.
class Pack final : public Gathering {
 public:
    void step(Arguments& row) override {
        if (n_ == 0 && row.has(2)) name_type(row);
        add_key(keys_, row);
        const Datum& v = row.datum(0);
        if (!row.is_scalar(0)) row.refuse(0, "v must be a number or text, got " + described(v));
        if (type_)
            add_named(row, v);
        else
            add(row, v);
        ++n_;
    }

    void finish(Result& result, const Limits& limits) const override {
        if (n_ == 0) return result.set_null();
        const ValueType type = type_ ? finished_type() : deduced_type();
        Plan(limits).within_budget(n_);
        Writer writer(type);
        const bool patched = !type_ && type.type == Type::double_ && !doubles_;
        const auto put = [&](size_t i) {
            uint8_t element[max_char];
            if (type.type == Type::char_) {
                const size_t from = i == 0 ? 0 : cells_[i - 1];
                std::memset(element, 0, type.width);
                std::memcpy(element, pool_.data() + from, cells_[i] - from);
            } else if (type_) {
                std::memcpy(element, elements_.data() + i * type.width, type.width);
            } else {
                // Nothing but NULL: all missing.
                const double missing = std::numeric_limits<double>::quiet_NaN();
                std::memcpy(element, patched ? static_cast<const void*>(&missing) : &cells_[i], sizeof missing);
            }
            writer.put_single(element, 1);
        };
        if (keys_.ascending() && type.type != Type::char_ && !patched)
            writer.put_single(type_ ? elements_.data() : reinterpret_cast<const uint8_t*>(cells_.data()), n_);
        else
            for (const size_t i : order(n_)) put(i);
        result.set_bytes(writer.finish());
    }

 private:
    void name_type(const Arguments& row) {
        type_ = type_named(row.text(2));
        if (!type_) row.refuse(2, "type must be the name of a type, got " + described(row.datum(2)));
    }

    [[noreturn]] void refuse_null(const Arguments& row, const std::string& type) const {
        row.refuse(0, "NULL does not fit " + type + ", which has no missing values; coalesce replaces it");
    }

    void add_named(const Arguments& row, const Datum& v) {
        if (v.is_null() && !is_floating(type_->type)) refuse_null(row, name_of(*type_));
        Scalar scalar = scalar_of(*type_);
        scalar.real = std::numeric_limits<double>::quiet_NaN();
        if (!v.is_null()) scalar = row.scalar(0, *type_);
        if (type_->type == Type::char_) return add_text(scalar.text);
        const size_t at = elements_.size();
        elements_.resize(at + type_->width);
        put_element(scalar, elements_.data() + at);
    }

    void add_text(std::string_view text) {
        pool_ += text;
        cells_.push_back(pool_.size());
        longest_ = std::max(longest_, text.size());
    }

    void add(const Arguments& row, const Datum& v) {
        texts_ |= v.kind == Datum::Kind::text;
        nulls_ |= v.is_null();
        numbers_ |= v.is_number();
        if (texts_ && nulls_) refuse_null(row, "char");
        if (texts_ && numbers_)
            row.refuse(0, "v must be all numbers or all text, got " + described(v) + " after the other");
        if (v.kind == Datum::Kind::text) return add_text(row.scalar(0, {Type::char_, 0}).text);
        if (v.kind == Datum::Kind::real && !doubles_) to_doubles();
        if (v.is_null() && !doubles_) missing_.push_back(n_);
        if (!doubles_) return cells_.push_back(static_cast<uint64_t>(v.integer));
        const double real = v.is_null()                      ? std::numeric_limits<double>::quiet_NaN()
                            : v.kind == Datum::Kind::integer ? static_cast<double>(v.integer)
                                                             : v.real;
        cells_.push_back(std::bit_cast<uint64_t>(real));
    }

    void to_doubles() {
        doubles_ = true;
        for (uint64_t& cell : cells_) cell = std::bit_cast<uint64_t>(static_cast<double>(static_cast<int64_t>(cell)));
        for (const uint64_t i : missing_) cells_[i] = std::bit_cast<uint64_t>(std::numeric_limits<double>::quiet_NaN());
        missing_ = {};
    }

    ValueType finished_type() const {
        return type_->type == Type::char_ && type_->width == 0 ? char_of(longest_) : *type_;
    }
    ValueType deduced_type() const {
        if (texts_) return char_of(longest_);
        if (doubles_ || !numbers_) return type_of(Type::double_);
        if (nulls_)
            throw Error(Fault::argument,
                        "argument 1: NULL among integers does not fit int8, which has no missing values; "
                        "coalesce replaces it, or name the type double");
        return type_of(Type::int8);
    }

    std::optional<ValueType> type_;  // if it was named
    uint64_t n_ = 0;
    std::vector<uint8_t> elements_;  // of a named type but char
    std::vector<uint64_t> cells_;    // of no named type: integers or the bits of doubles; of text: where each one ends
    std::vector<uint64_t> missing_;  // rows whose value is NULL, while there was no real
    std::string pool_;
    size_t longest_ = 1;
    bool doubles_ = false, texts_ = false, nulls_ = false, numbers_ = false;
};

class Join final : public Gathering {
 public:
    void step(Arguments& row) override {
        const Stored& x = row.stored(0);
        const std::optional<ValueType> type = parts_.empty() ? x.type() : meet(type_, x.type());
        if (!type) row.refuse_type(0, "that meets " + name_of(type_), x.type());
        add_key(keys_, row);
        type_ = *type;
        parts_.emplace_back(x.bytes());
    }

    void finish(Result& result, const Limits& limits) const override {
        if (parts_.empty()) return result.set_null();
        const Plan all(limits);
        Writer writer(type_, {.each_tile = [&all] { all.check_interrupt(); }});
        for (const size_t i : order(parts_.size())) {
            const Stored part(parts_[i].bytes());
            if (part.type() == type_) {
                writer.put_stored(part);
                continue;
            }
            Plan plan(limits);
            for_each_tile(plan, widened(plan, stored_source(plan, part), type_),
                          [&](const void* values, const uint8_t* runs, size_t n) { writer.put(values, runs, n); });
        }
        result.set_bytes(writer.finish());
    }

 private:
    ValueType type_;
    std::vector<Buffer> parts_;
};

}  // namespace

std::unique_ptr<Aggregate> make_pack(const Function&) { return std::make_unique<Pack>(); }
std::unique_ptr<Aggregate> make_join(const Function&) { return std::make_unique<Join>(); }

}  // namespace qvo::value
