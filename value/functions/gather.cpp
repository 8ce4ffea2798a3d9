#include "functions/gather.h"

#include <cmath>
#include <limits>

#include "base/blocks.h"
#include "base/text.h"
#include "evaluate/arguments.h"
#include "evaluate/deliver.h"
#include "evaluate/scalar.h"
#include "evaluate/source.h"
#include "functions/keys.h"
#include "operators/convert.h"

namespace qvo::value {
namespace {

/// Neither has a state that travels: what they hold is all of their rows.
class Gathering : public Aggregate {
 public:
    void save(Buffer&) const override { throw Error(Fault::argument, "argument 1: pack and join have no state"); }
    void merge(StateReader&) override { save_nothing(); }

 protected:
    [[noreturn]] static void save_nothing() { throw Error(Fault::argument, "argument 1: pack and join have no state"); }
    /// Whether row n has a key, which has to be one.
    bool has_key(const Arguments& row, size_t n) const {
        if (n != 0 && row.has(1) == keys_.empty()) row.refuse(1, "key must be there for every row, or for none");
        if (!row.has(1)) return false;
        check_key(row);
        return true;
    }
    /// The order of n rows; as they came, if they have no keys.
    Order order(Plan& plan, size_t n) const {
        if (keys_.ascending()) return Order(n);
        if (keys_.size() != n) throw std::bad_alloc();  // there was no memory for one of them
        return keys_.order(plan);
    }
    Keys keys_;
};

/// The values as eight bytes each: integers, or doubles from the first real on; text in a pool.
class Pack final : public Gathering {
 public:
    void step(Arguments& row) override {
        const bool keyed = has_key(row, n_);
        if (n_ == 0) name_type(row);
        const Datum& v = row.datum(0);
        if (!row.is_scalar(0)) row.refuse(0, "v must be a number or text, got " + row.described(0));
        if (type_)
            add_named(row, v);
        else
            add(row, v);
        if (keyed) keys_.add(row.datum(1));
        ++n_;
        alike_ = kind_that_fits();
    }

    /// A real where values are reals, an integer where they are integers, with a key like those before it.
    size_t step_alike(std::span<const Argument> rows, size_t n) override {
        const bool keyed = n > 1;
        if (alike_ == Datum::Kind::null || n == 0 || n > (type_ ? 3 : 2) || keyed == keys_.empty()) return 0;
        const bool real = alike_ == Datum::Kind::real;
        size_t taken = 0;
        for (size_t i = 0; i < rows.size(); i += n, ++taken) {
            const Datum& v = rows[i].datum;  // of an expression NULL
            if (v.kind != alike_ || (n == 3 && rows[i + 2].datum.kind != Datum::Kind::text)) break;
            if (keyed && !keys_.add_alike(rows[i + 1].datum)) break;
            cells_.push_back(real ? std::bit_cast<uint64_t>(v.real) : static_cast<uint64_t>(v.integer));
            ++n_;
        }
        return taken;
    }

    void finish(Result& result, const Limits& limits) const override {
        if (n_ == 0) return result.set_null();
        const ValueType type = type_ ? finished_type() : deduced_type();
        Plan plan(limits);
        plan.within_budget(n_);
        Writer writer(type);
        writer.expect(n_);
        const Order rows = order(plan, n_);
        if (type.type == Type::char_) {
            put_texts(plan, type.width, rows, writer);
        } else if (!type_ && type.type == Type::double_ && !doubles_) {
            // Nothing but NULL: all missing.
            const double missing = std::numeric_limits<double>::quiet_NaN();
            writer.put_repeated(&missing, n_);
        } else {
            put_values(plan, type.width, rows, writer);
        }
        result.set_bytes(writer.finish());
    }

 private:
    static constexpr size_t block = 512;  // values that are gathered at once

    void put_values(Plan& plan, size_t width, const Order& rows, Writer& writer) const {
        if (width == sizeof(uint64_t)) {
            if (rows.as_they_are())
                return cells_.for_each_block([&](const uint64_t* cells, size_t n) { writer.put_single(cells, n); });
            return put_in_order<uint64_t>(plan, rows, writer, [this](size_t row) { return cells_[row]; });
        }
        if (rows.as_they_are()) return writer.put_single(elements_.data(), n_);
        with_unsigned(
            width,
            [&](auto of_width) {
                using V = decltype(of_width);
                const auto* const values = reinterpret_cast<const V*>(elements_.data());
                put_in_order<V>(plan, rows, writer, [values](size_t row) { return values[row]; });
            },
            [] {});
    }

    template <class V, class Value>
    void put_in_order(Plan& plan, const Order& rows, Writer& writer, Value value) const {
        V gathered[block];
        for (size_t i = 0; i < n_; i += block) {
            const size_t here = std::min<size_t>(block, n_ - i);
            for (size_t k = 0; k < here; ++k) gathered[k] = value(rows.indexes()[i + k]);
            writer.put_single(gathered, here);
            plan.poll();
        }
    }

    void put_texts(Plan& plan, size_t width, const Order& rows, Writer& writer) const {
        Buffer gathered;
        for (size_t i = 0; i < n_; i += block) {
            const size_t here = std::min<size_t>(block, n_ - i);
            gathered.resize(here * width);
            std::memset(gathered.data(), 0, here * width);
            for (size_t k = 0; k < here; ++k) {
                const size_t row = rows.at(i + k), from = row == 0 ? 0 : cells_[row - 1];
                std::memcpy(gathered.data() + k * width, pool_.data() + from, cells_[row] - from);
            }
            writer.put_single(gathered.data(), here);
            plan.poll();
        }
    }

    /// The kind of values that are taken as they are, in eight bytes; NULL if there is none.
    Datum::Kind kind_that_fits() const {
        if (!type_) return doubles_ ? Datum::Kind::real : numbers_ ? Datum::Kind::integer : Datum::Kind::null;
        const bool integers = type_->type == Type::int8 || type_->type == Type::timestamp;
        return type_->type == Type::double_ ? Datum::Kind::real : integers ? Datum::Kind::integer : Datum::Kind::null;
    }

    void name_type(const Arguments& row) {
        type_.reset();
        if (!row.has(2)) return;
        type_ = type_named(row.text(2));
        if (!type_) row.refuse(2, "type must be the name of a type, got " + row.described(2));
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
        if (type_->width != sizeof(uint64_t)) return put_element(scalar, elements_.extend(type_->width));
        uint64_t bits;
        put_element(scalar, &bits);
        cells_.push_back(bits);
    }

    void add_text(std::string_view text) {
        // More than the last end belongs to a text that was refused for want of memory.
        pool_.resize(cells_.size() == 0 ? 0 : cells_[cells_.size() - 1]);
        pool_ += text;
        cells_.push_back(pool_.size());
        longest_ = std::max(longest_, text.size());
    }

    void add(const Arguments& row, const Datum& v) {
        const bool text = v.kind == Datum::Kind::text;
        if ((texts_ || text) && (nulls_ || v.is_null())) refuse_null(row, "char");
        if (text ? numbers_ : texts_)
            row.refuse(0, "v must be all numbers or all text, got " + row.described(0) + " after the other");
        if (text) add_text(row.scalar(0, {Type::char_, 0}).text);
        texts_ |= text;
        nulls_ |= v.is_null();
        numbers_ |= v.is_number();
        if (text) return;
        if (v.kind == Datum::Kind::real && !doubles_) to_doubles();
        if (!doubles_) {
            cells_.push_back(static_cast<uint64_t>(v.integer));
            if (v.is_null()) missing_.push_back(n_);
            return;
        }
        const double real = v.is_null()                      ? std::numeric_limits<double>::quiet_NaN()
                            : v.kind == Datum::Kind::integer ? static_cast<double>(v.integer)
                                                             : v.real;
        cells_.push_back(std::bit_cast<uint64_t>(real));
    }

    void to_doubles() {
        doubles_ = true;
        for (size_t i = 0; i < cells_.size(); ++i)
            cells_[i] = std::bit_cast<uint64_t>(static_cast<double>(static_cast<int64_t>(cells_[i])));
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
    Blocks<uint64_t> cells_;         // values of eight bytes, and where each text ends
    Buffer elements_;                // of a named type of fewer bytes
    std::vector<uint64_t> missing_;  // rows whose value is NULL, while there was no real
    std::string pool_;
    size_t longest_ = 1;
    Datum::Kind alike_ = Datum::Kind::null;
    bool doubles_ = false, texts_ = false, nulls_ = false, numbers_ = false;
};

class Join final : public Gathering {
 public:
    void step(Arguments& row) override {
        const Stored& x = row.stored(0);
        const std::optional<ValueType> type = parts_.empty() ? x.type() : meet(type_, x.type());
        if (!type) row.refuse_type(0, "that meets " + name_of(type_), x.type());
        const bool keyed = has_key(row, parts_.size());
        parts_.emplace_back(x.bytes());
        type_ = *type;
        if (keyed) keys_.add(row.datum(1));
    }

    void finish(Result& result, const Limits& limits) const override {
        if (parts_.empty()) return result.set_null();
        Plan all(limits);
        Writer writer(type_, {.each_tile = [&all] { all.check_interrupt(); }});
        const Order rows = order(all, parts_.size());
        for (size_t i = 0; i < parts_.size(); ++i) {
            const Stored part(parts_[rows.at(i)].bytes());
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
