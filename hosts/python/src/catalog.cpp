// The catalog as Python sees it: `catalog()` is a list of functions with the fields of qvo_function_info_t.
#include "host.h"

namespace qvo::python {
namespace {

constexpr const char* kinds[] = {"scalar", "aggregate", "table"};
constexpr const char* takes[] = {"sequence", "operand", "scalar", "integer", "real", "text", "bytes", "anything"};

struct Parameter {
    qvo_parameter_info_t info;
};

nb::list catalog() {
    nb::list functions;
    for (size_t i = 0; i < qvo_function_count(); ++i) {
        Function function{qvo_function_at(i), {}};
        qvo_function_describe(function.handle, &function.info);
        functions.append(function);
    }
    return functions;
}

nb::list parameters(const Function& function) {
    nb::list list;
    for (size_t i = 0; i < function.info.n_parameters; ++i) {
        Parameter parameter{};
        qvo_parameter_describe(function.handle, i, &parameter.info);
        list.append(parameter);
    }
    return list;
}

}  // namespace

void add_catalog(nb::module_& module) {
    nb::class_<Parameter>(module, "Parameter", "A parameter of a function.")
        .def_prop_ro("name", [](const Parameter& p) { return p.info.name; })
        .def_prop_ro("takes", [](const Parameter& p) { return takes[p.info.takes]; })
        .def_prop_ro("of", [](const Parameter& p) { return p.info.of; })
        .def_prop_ro("optional", [](const Parameter& p) { return p.info.optional != 0; })
        .def_prop_ro("lowest", [](const Parameter& p) { return p.info.lowest; })
        .def_prop_ro("highest", [](const Parameter& p) { return p.info.highest; });
    nb::class_<Function>(module, "Function", "An entry of the catalog.")
        .def_prop_ro("name", [](const Function& f) { return f.info.name; })
        .def_prop_ro("section", [](const Function& f) { return f.info.section; })
        .def_prop_ro("kind", [](const Function& f) { return kinds[f.info.kind]; })
        .def_prop_ro("gives",
                     [](const Function& f) { return f.info.gives == QVO_GIVES_SEQUENCE ? "sequence" : "value"; })
        .def_prop_ro("has_state", [](const Function& f) { return f.info.has_state != 0; })
        .def_prop_ro("parameters", parameters)
        .def_prop_ro("fewest", [](const Function& f) { return f.info.fewest; })
        .def_prop_ro("most", [](const Function& f) { return f.info.most; })
        .def_prop_ro("summary", [](const Function& f) { return f.info.summary; })
        .def_prop_ro("result", [](const Function& f) { return f.info.result; })
        .def_prop_ro("rule", [](const Function& f) { return f.info.rule; })
        .def_prop_ro("example", [](const Function& f) { return f.info.example; })
        .def_prop_ro("example_result", [](const Function& f) { return f.info.example_result; })
        .def_prop_ro("columns", [](const Function& f) { return f.info.columns; })
        .def_prop_ro("python", [](const Function& f) { return f.info.python; });
    module.def("catalog", catalog, "All functions, in the order of the reference.");
}

}  // namespace qvo::python
