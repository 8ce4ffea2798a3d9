// One evaluation: the iterators made for it, the operators of this layer among them, and what they may use up.
//
// The operators underneath are compiled without exceptions, so no exception may pass through them. An operator of this
// layer throws as it likes; `run_operator` below catches at its edge, keeps the exception in the plan and answers with a
// code, which the operators above hand on unchanged; `pull` throws the exception again.
#pragma once

#include <cstddef>
#include <exception>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

#include "base/buffer.h"
#include "base/error.h"
#include "base/type.h"
#include "core/construct.h"
#include "core/operand.h"

namespace qvo::value {

class Recent;

/// What a host allows a call, how it ends one early, and what it lets calls remember.
struct Limits {
    uint64_t budget = uint64_t{1} << 27;       // positions
    int (*interrupted)(void* data) = nullptr;  // asked every now and then; not 0 ends the call
    void* data = nullptr;
    Recent* recent = nullptr;  // results that may come back as arguments; or none
};

class Plan;
struct Argument;

/// An operator of this layer. `next` fills the iterator's tile and answers as every `next` does.
class Operator {
 public:
    virtual ~Operator() = default;
    virtual QVO_RET next(qvo_seq_iterator_h it) = 0;

    Plan* plan = nullptr;       // set by Plan::add, as is
    std::string_view function;  // the function that it was made for
};

/// A sequence under evaluation: an iterator with its type, and its length where that is known beforehand.
struct Series {
    qvo_seq_iterator_h it = nullptr;
    ValueType type;
    std::optional<uint64_t> length{};  // positions
    bool constant = false;             // never ends: a scalar among sequences
};

class Plan {
 public:
    explicit Plan(const Limits& limits);
    ~Plan();
    Plan(const Plan&) = delete;
    Plan& operator=(const Plan&) = delete;

    const Limits& limits() const { return limits_; }

    /// A plan that is made only to find the type of a call's result: every argument is an empty sequence of its type,
    /// whose length is not known.
    bool describes() const { return describes_; }
    void describe() { describes_ = true; }
    /// Told by a function whose result has a type that values decide.
    void type_depends_on_values() { type_is_known_ = false; }
    bool type_is_known() const { return type_is_known_; }

    /// While it lives, operators are made for the named function of the catalog.
    class Naming {
     public:
        Naming(Plan& plan, std::string_view function) : plan_(plan), outer_(std::exchange(plan.function_, function)) {}
        ~Naming() { plan_.function_ = outer_; }
        Naming(const Naming&) = delete;
        Naming& operator=(const Naming&) = delete;

     private:
        Plan& plan_;
        std::string_view outer_;
    };

    /// Arguments of a nested call, which live as long as the plan.
    std::vector<Argument>& keep_arguments(size_t n);

    /// A record for an operator of the library, alive as long as the plan.
    qvo_seq_iterator_h iterator();

    /// An operator of this layer with a record of its own; its operands are what it holds itself.
    template <class Op> Series add(ValueType type, std::unique_ptr<Op> op, std::optional<uint64_t> length = {}) {
        return {own(type, std::move(op)), type, length};
    }
    template <class Op, class... Arguments>
    Series make(ValueType type, std::optional<uint64_t> length, Arguments&&... arguments) {
        return add(type, std::make_unique<Op>(std::forward<Arguments>(arguments)...), length);
    }

    /// Pulls an iterator: true if its tile holds elements, false at its end; throws what stopped it.
    bool pull(qvo_seq_iterator_h it) {
        it->tile_offs = 0;
        poll();
        const QVO_RET rc = it->next(it);
        it->tile_offs = 0;
        if (rc == QVO_S_OK) return true;
        if (rc != QVO_S_CURSOR_END) fail(rc);
        return false;
    }

    /// An error if a call would hand out or expand more positions than the host allows.
    void within_budget(uint64_t positions) const {
        if (!allows(positions)) over_budget();
    }
    bool allows(uint64_t positions) const { return positions <= limits_.budget; }
    /// Asks the host now and then whether to go on. Called for every tile.
    void poll() {
        if (++polled_ % 32 == 0) check_interrupt();
    }
    void check_interrupt() const;

    /// Bytes that live as long as the plan.
    std::span<const uint8_t> keep_bytes(Buffer bytes) {
        buffers_.push_back(std::move(bytes));
        return buffers_.back().bytes();
    }

    /// Throws what an iterator's code stands for.
    [[noreturn]] void fail(QVO_RET rc);
    void keep(std::exception_ptr fault) { fault_ = std::move(fault); }

 private:
    // A tile's values begin with a line of the cache, so that vectors of them lie in one. Records are large and need no
    // initial value.
    static constexpr size_t line = 64;
    struct alignas(line) Record {
        char before[line - offsetof(qvo_seq_iterator_t, tile.u) % line];
        qvo_seq_iterator_t it;
    };
    static constexpr size_t block = 4;
    struct Records {
        Record records[block];
    };
    qvo_seq_iterator_h own(ValueType type, std::unique_ptr<Operator> op);
    [[noreturn]] void over_budget() const;

    Limits limits_;
    unsigned polled_ = 0;
    bool describes_ = false, type_is_known_ = true;
    std::string_view function_;
    std::exception_ptr fault_;
    std::vector<std::unique_ptr<std::vector<Argument>>> arguments_;
    std::vector<Buffer> buffers_;
    size_t used_ = 0;
    std::vector<std::unique_ptr<Records>> more_;
    std::vector<std::unique_ptr<Operator>> operators_;
    Records first_;
};

/// The code by which an operator of this layer says that the plan holds an exception.
inline constexpr QVO_RET failed_operator = 1060100;

/// The element layout that the operators see.
ElementLayout layout_of_type(ValueType type);

}  // namespace qvo::value
