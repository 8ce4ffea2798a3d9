// Calls that give values: scalar functions, aggregates over rows and their states, tables.
#include "host.h"

namespace qvo::python {
namespace {

nb::object call(const Function& function, nb::tuple objects) {
    const Arguments arguments(function, std::move(objects));
    Result result;
    Evaluation().run([&](const qvo_limits_t* limits, qvo_error_t* error) {
        return qvo_call(function.handle, arguments.data(), arguments.size(), limits, result.out(), error);
    });
    return result.object();
}

/// The running state of an aggregate. After an error a row may be folded in partly, and the aggregate is done for.
class Aggregate {
 public:
    explicit Aggregate(const Function& function) : function_(function) {
        qvo_error_t error{};
        check(qvo_aggregate_new(function.handle, &aggregate_, &error), error);
    }
    ~Aggregate() { qvo_aggregate_free(aggregate_); }
    Aggregate(const Aggregate&) = delete;
    Aggregate& operator=(const Aggregate&) = delete;

    void step(nb::tuple objects) {
        const Arguments arguments(function_, std::move(objects));
        run([&](const qvo_limits_t* limits, qvo_error_t* error) {
            return qvo_aggregate_step(aggregate_, arguments.data(), arguments.size(), limits, error);
        });
    }
    void merge(nb::bytes state) {
        run([&](const qvo_limits_t*, qvo_error_t* error) {
            return qvo_aggregate_merge(aggregate_, state.c_str(), state.size(), error);
        });
    }
    nb::object state() {
        Result result;
        run([&](const qvo_limits_t*, qvo_error_t* error) {
            return qvo_aggregate_state(aggregate_, result.out(), error);
        });
        return result.object();
    }
    nb::object finish() {
        Result result;
        run([&](const qvo_limits_t* limits, qvo_error_t* error) {
            return qvo_aggregate_finish(aggregate_, limits, result.out(), error);
        });
        return result.object();
    }

 private:
    /// One thread at a time: the interpreter's lock is let go within.
    template <class F> void run(F f) {
        if (busy_) throw std::runtime_error("the aggregate is in use in another thread");
        busy_ = true;
        struct Idle {
            bool& busy;
            ~Idle() { busy = false; }
        } idle{busy_};
        Evaluation().run(f);
    }

    Function function_;
    qvo_aggregate_t* aggregate_ = nullptr;
    bool busy_ = false;
};

/// All rows of a table, as a list of tuples.
nb::list rows(const Function& function, nb::tuple objects, unsigned columns) {
    const Arguments arguments(function, std::move(objects));
    Evaluation evaluation;
    qvo_rows_t* opened = nullptr;
    evaluation.run([&](const qvo_limits_t* limits, qvo_error_t* error) {
        return qvo_rows_open(function.handle, arguments.data(), arguments.size(), 0, UINT64_MAX, limits, &opened,
                             error);
    });
    const std::unique_ptr<qvo_rows_t, decltype(&qvo_rows_free)> table(opened, qvo_rows_free);
    nb::list list;
    qvo_error_t error{};
    for (;;) {
        const auto code = qvo_rows_next(table.get(), &error);
        if (code == QVO_VALUE_END) return list;
        check(code, error);
        nb::list row;
        for (unsigned i = 0; i < columns; ++i) {
            Result value;
            check(qvo_rows_column(table.get(), i, value.out(), &error), error);
            row.append(value.object());
        }
        list.append(nb::tuple(row));
    }
}

}  // namespace

void add_calls(nb::module_& module) {
    module.def("call", call);
    module.def("rows", rows);
    nb::class_<Aggregate>(module, "Aggregate")
        .def(nb::init<const Function&>())
        .def("step", &Aggregate::step)
        .def("merge", &Aggregate::merge)
        .def("state", &Aggregate::state)
        .def("finish", &Aggregate::finish);
}

}  // namespace qvo::python
