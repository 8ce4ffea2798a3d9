// Partial results of aggregates as bytes: made, combined and finished.
#include "evaluate/state.h"
#include "functions/catalog.h"

namespace qvo::value {
namespace {

/// Runs the aggregate that is named by the first argument; its result is the state.
class State final : public Aggregate {
 public:
    void step(Arguments& row) override {
        if (aggregate_ == nullptr) name_function(row);
        const Plan::Naming naming(row.plan(), function_->name);
        try {
            Arguments inner(*function_, row.all().subspan(1), row.plan());
            if (!inner.any_null()) aggregate_->step(inner);
        } catch (Error& error) {
            error.name(function_->name);  // as its arguments are counted, too
            throw;
        }
    }
    void finish(Result& result, const Limits&) const override {
        if (aggregate_ == nullptr) return result.set_null();
        result.set_bytes(save_state(*function_, *aggregate_));
    }
    void save(Buffer&) const override { throw Error(Fault::argument, "argument 1: state has no state of its own"); }
    void merge(StateReader&) override { StateReader::damaged(); }

 private:
    void name_function(const Arguments& row) {
        std::string_view name = row.text(0);
        if (name.starts_with("seq_")) name.remove_prefix(4);
        function_ = find_function(name);
        if (function_ == nullptr || function_->aggregate == nullptr || !function_->has_state)
            row.refuse(0, "name must be that of an aggregate with a state, got " + row.described(0));
        aggregate_ = function_->aggregate(*function_);
    }
    const Function* function_ = nullptr;
    std::unique_ptr<Aggregate> aggregate_;
};

/// Combines states of one function.
class Merge final : public Aggregate {
 public:
    void step(Arguments& row) override {
        const SavedState saved = read_state(row.datum(0).bytes);
        if (aggregate_ == nullptr) {
            aggregate_ = restore(saved);
            function_ = saved.function;
        } else if (function_ != saved.function) {
            row.refuse(0, "state must be one of " + std::string(function_->name) + ", as those before, got one of " +
                              std::string(saved.function->name));
        } else {
            merge_state(*aggregate_, saved);
        }
    }
    void finish(Result& result, const Limits&) const override {
        if (aggregate_ == nullptr) return result.set_null();
        result.set_bytes(save_state(*function_, *aggregate_));
    }
    void save(Buffer&) const override { throw Error(Fault::argument, "argument 1: merge has no state of its own"); }
    void merge(StateReader&) override { StateReader::damaged(); }

 private:
    const Function* function_ = nullptr;
    std::unique_ptr<Aggregate> aggregate_;
};

void finish(Arguments& a, Result& result) { restore(read_state(a.datum(0).bytes))->finish(result, a.plan().limits()); }

const Function functions[] = {
    {.name = "state",
     .group = Group::aggregates,
     .kind = Kind::aggregate,
     .in_order = true,
     .summary = "The running state of an aggregate, as bytes.",
     .parameters = {{"name", Takes::text}, {"x", Takes::nullable}},
     .repeats = true,
     .result = "a blob",
     .rule =
         "name is that of an aggregate, with or without seq_; what follows are its arguments. A state can be stored, "
         "shipped and combined with others of the same function: finish(merge(state)) over parts equals the aggregate "
         "over the whole. NULL over no rows.",
     .example = {"finish(state('avg', [1, 2]))", "1.5"},
     .aggregate = make<State>},
    {.name = "merge",
     .group = Group::aggregates,
     .kind = Kind::aggregate,
     .in_order = true,
     .summary = "The states of the rows combined.",
     .parameters = {{"state", Takes::bytes}},
     .result = "a blob",
     .rule =
         "States of different functions are an error. NULL is left out. Where the order matters (first, last), it is "
         "that of the rows.",
     .example = {"finish(merge(state('sum', [1, 2])))", "3"},
     .aggregate = make<Merge>},
    {.name = "finish",
     .group = Group::aggregates,
     .summary = "The result of the aggregate whose state it is.",
     .parameters = {{"state", Takes::bytes}},
     .result = "as the aggregate",
     .rule = "",
     .example = {"finish(state('max', [1, 2]))", "2"},
     .compute = finish},
};

}  // namespace

std::span<const Function> state_functions() { return functions; }

}  // namespace qvo::value
