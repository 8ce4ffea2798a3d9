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

/// The rows of a table, as an iterator of tuples.
class Rows {
 public:
    Rows(const Function& function, nb::tuple objects, unsigned columns)
        : arguments_(function, std::move(objects)), columns_(columns) {
        evaluation_.run([&](const qvo_limits_t* limits, qvo_error_t* error) {
            return qvo_rows_open(function.handle, arguments_.data(), arguments_.size(), 0, UINT64_MAX, limits, &rows_,
                                 error);
        });
    }
    ~Rows() { qvo_rows_free(rows_); }
    Rows(const Rows&) = delete;
    Rows& operator=(const Rows&) = delete;

    nb::object next() {
        qvo_error_t error{};
        const auto code = qvo_rows_next(rows_, &error);
        if (code == QVO_VALUE_END) throw nb::stop_iteration();
        evaluation_.check(code, error);
        nb::list row;
        for (unsigned i = 0; i < columns_; ++i) {
            Result value;
            evaluation_.check(qvo_rows_column(rows_, i, value.out(), &error), error);
            row.append(value.object());
        }
        return nb::tuple(row);
    }

 private:
    Arguments arguments_;
    unsigned columns_;
    Evaluation evaluation_;
    qvo_rows_t* rows_ = nullptr;
};

}  // namespace

void add_calls(nb::module_& module) {
    module.def("call", call);
    nb::class_<Aggregate>(module, "Aggregate")
        .def(nb::init<const Function&>())
        .def("step", &Aggregate::step)
        .def("merge", &Aggregate::merge)
        .def("state", &Aggregate::state)
        .def("finish", &Aggregate::finish);
    nb::class_<Rows>(module, "Rows")
        .def(nb::init<const Function&, nb::tuple, unsigned>())
        .def("__iter__", [](nb::handle self) { return nb::borrow(self); })
        .def("__next__", &Rows::next);
}

}  // namespace qvo::python
