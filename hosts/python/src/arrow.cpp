// Arrow's C data interface, as far as memory goes: structures come in as trees of buffers and leave as such. What formats
// mean, and which buffers an array of a format has, is known in Python (_arrow.py); what comes from other libraries is
// moved out of their capsules here and released when nothing looks at it any more.
#include <nanobind/ndarray.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "host.h"

namespace qvo::python {
namespace {

// The structures of the interface, whose layout is fixed by Arrow.
struct ArrowSchema {
    const char* format;
    const char* name;
    const char* metadata;
    int64_t flags;
    int64_t n_children;
    ArrowSchema** children;
    ArrowSchema* dictionary;
    void (*release)(ArrowSchema*);
    void* private_data;
};
struct ArrowArray {
    int64_t length, null_count, offset, n_buffers, n_children;
    const void** buffers;
    ArrowArray** children;
    ArrowArray* dictionary;
    void (*release)(ArrowArray*);
    void* private_data;
};
struct ArrowArrayStream {
    int (*get_schema)(ArrowArrayStream*, ArrowSchema*);
    int (*get_next)(ArrowArrayStream*, ArrowArray*);
    const char* (*get_last_error)(ArrowArrayStream*);
    void (*release)(ArrowArrayStream*);
    void* private_data;
};
constexpr int64_t nullable = 2;

/// A structure that was moved out of a capsule, or is to be filled; released in the end.
template <class S> struct Owned {
    S value{};
    Owned() = default;
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;
    ~Owned() {
        if (value.release != nullptr) value.release(&value);
    }
};

template <class S> std::shared_ptr<Owned<S>> taken(nb::handle capsule, const char* name) {
    auto* const from = static_cast<S*>(PyCapsule_GetPointer(capsule.ptr(), name));
    if (from == nullptr) throw nb::python_error();
    if (from->release == nullptr) throw nb::value_error("the Arrow structure was taken already");
    auto owned = std::make_shared<Owned<S>>();
    owned->value = *from;
    from->release = nullptr;
    return owned;
}

// ---- In --------------------------------------------------------------------------------------------------------

/// An array of another library with its schema. Parts of it keep the whole.
class Incoming {
 public:
    std::shared_ptr<Owned<ArrowSchema>> schemas;
    std::shared_ptr<Owned<ArrowArray>> arrays;
    const ArrowSchema* schema;
    const ArrowArray* array;

    static Incoming of(nb::handle schema, nb::handle array) {
        auto s = taken<ArrowSchema>(schema, "arrow_schema");
        auto a = taken<ArrowArray>(array, "arrow_array");
        return {s, a, &s->value, &a->value};
    }
    Incoming part(const ArrowSchema* s, const ArrowArray* a) const {
        if (s == nullptr || a == nullptr) throw nb::value_error("the Arrow array does not fit its schema");
        return {schemas, arrays, s, a};
    }
    nb::list children() const {
        if (array->release != nullptr && schema->n_children != array->n_children)
            throw nb::value_error("the Arrow array does not fit its schema");
        nb::list list;
        for (int64_t i = 0; i < schema->n_children; ++i)
            list.append(part(schema->children[i], array->release == nullptr ? array : array->children[i]));
        return list;
    }
    nb::object dictionary() const {
        if (schema->dictionary == nullptr) return nb::none();
        return nb::cast(part(schema->dictionary, array->dictionary));
    }
    /// The first `size` bytes of a buffer as an array in place, which keeps the whole; None where there is none.
    nb::object buffer(int64_t index, size_t size) const {
        if (index >= array->n_buffers) throw nb::value_error("the Arrow array has too few buffers");
        auto* const memory = const_cast<void*>(array->buffers[index]);
        if (memory == nullptr || size == 0) return nb::none();
        nb::capsule owner(new Incoming(*this),
                          [](void* incoming) noexcept { delete static_cast<Incoming*>(incoming); });
        return nb::cast(nb::ndarray<nb::numpy, const uint8_t, nb::ndim<1>>(memory, {size}, owner));
    }
};

/// The chunks of a stream. Of one without chunks the array of nothing, so that there is a schema to look at.
nb::list stream_in(nb::handle capsule) {
    const auto stream = taken<ArrowArrayStream>(capsule, "arrow_array_stream");
    ArrowArrayStream& from = stream->value;
    const auto check_code = [&](int code) {
        if (code == 0) return;
        const char* const message = from.get_last_error(&from);
        throw nb::value_error(message != nullptr ? message : std::strerror(code));
    };
    const auto unlocked = [&](auto f) {
        nb::gil_scoped_release release;
        return f();
    };
    const auto schema = std::make_shared<Owned<ArrowSchema>>();
    check_code(unlocked([&] { return from.get_schema(&from, &schema->value); }));
    nb::list chunks;
    while (true) {
        const auto array = std::make_shared<Owned<ArrowArray>>();
        check_code(unlocked([&] { return from.get_next(&from, &array->value); }));
        if (array->value.release == nullptr) break;
        chunks.append(Incoming{schema, array, &schema->value, &array->value});
    }
    if (nb::len(chunks) == 0) {
        const auto nothing = std::make_shared<Owned<ArrowArray>>();
        chunks.append(Incoming{schema, nothing, &schema->value, &nothing->value});
    }
    return chunks;
}

// ---- Out -------------------------------------------------------------------------------------------------------

/// An array on its way out. Schemas and arrays that were handed over share it.
struct Outgoing {
    std::string format, name;
    int64_t length, null_count;
    std::vector<Py_buffer*> buffers;  // null: none
    std::vector<std::shared_ptr<Outgoing>> children;

    Outgoing(std::string f, std::string n, int64_t l, int64_t nulls)
        : format(std::move(f)), name(std::move(n)), length(l), null_count(nulls) {}
    ~Outgoing() {
        for (Py_buffer* buffer : buffers)
            if (buffer != nullptr) release_buffer(buffer);
    }
    Outgoing(const Outgoing&) = delete;
    Outgoing& operator=(const Outgoing&) = delete;
};
using Shared = std::shared_ptr<Outgoing>;

/// What a structure that was handed over holds, besides the structures of its children.
template <class S> struct Held {
    Shared column;
    std::vector<S> children;
    std::vector<S*> pointers;
    std::vector<const void*> buffers;
};

template <class S> void release_structure(S* structure) {
    for (int64_t i = 0; i < structure->n_children; ++i)
        if (structure->children[i]->release != nullptr) structure->children[i]->release(structure->children[i]);
    delete static_cast<Held<S>*>(structure->private_data);
    structure->release = nullptr;
}

void fill(ArrowSchema& schema, const Outgoing& column) {
    schema.format = column.format.c_str();
    schema.name = column.name.c_str();
    schema.flags = nullable;
}
void fill(ArrowArray& array, const Outgoing& column) {
    auto& buffers = static_cast<Held<ArrowArray>*>(array.private_data)->buffers;
    for (const Py_buffer* buffer : column.buffers) buffers.push_back(buffer == nullptr ? nullptr : buffer->buf);
    array.length = column.length;
    array.null_count = column.null_count;
    array.n_buffers = static_cast<int64_t>(buffers.size());
    array.buffers = buffers.data();
}

template <class S> void hand_over(const Shared& column, S* to) {
    auto held = std::make_unique<Held<S>>();
    const size_t n = column->children.size();
    held->column = column;
    held->children.resize(n);
    for (S& child : held->children) held->pointers.push_back(&child);
    *to = {};
    to->n_children = static_cast<int64_t>(n);
    to->children = held->pointers.data();
    to->private_data = held.get();
    for (size_t i = 0; i < n; ++i) hand_over(column->children[i], &held->children[i]);
    fill(*to, *column);
    to->release = release_structure<S>;
    held.release();
}

template <class S> void free_capsule(PyObject* capsule) {
    auto* const structure = static_cast<S*>(PyCapsule_GetPointer(capsule, PyCapsule_GetName(capsule)));
    if (structure->release != nullptr) structure->release(structure);
    delete structure;
}

template <class S> nb::object capsule_of(std::unique_ptr<S> structure, const char* name) {
    PyObject* const capsule = PyCapsule_New(structure.get(), name, free_capsule<S>);
    if (capsule == nullptr) {
        structure->release(structure.get());
        throw nb::python_error();
    }
    structure.release();
    return nb::steal(capsule);
}

template <class S> nb::object structure(const Shared& column, const char* name) {
    auto made = std::make_unique<S>();
    hand_over(column, made.get());
    return capsule_of(std::move(made), name);
}

/// A stream of one array.
struct Stream {
    Shared column;
    bool delivered = false;
};

template <class F> int answered(F f) {
    try {
        f();
        return 0;
    } catch (...) { return ENOMEM; }
}

nb::object stream_out(const Shared& column) {
    auto stream = std::make_unique<ArrowArrayStream>();
    stream->get_schema = [](ArrowArrayStream* s, ArrowSchema* to) {
        return answered([&] { hand_over(static_cast<Stream*>(s->private_data)->column, to); });
    };
    stream->get_next = [](ArrowArrayStream* s, ArrowArray* to) {
        auto& state = *static_cast<Stream*>(s->private_data);
        *to = {};
        if (state.delivered) return 0;
        return answered([&] {
            hand_over(state.column, to);
            state.delivered = true;
        });
    };
    stream->get_last_error = [](ArrowArrayStream*) -> const char* { return nullptr; };
    stream->release = [](ArrowArrayStream* s) {
        delete static_cast<Stream*>(s->private_data);
        s->release = nullptr;
    };
    stream->private_data = new Stream{column};
    return capsule_of(std::move(stream), "arrow_array_stream");
}

/// Python's handle of an Outgoing.
struct Column {
    Shared shared;
    Column(const std::string& format, const std::string& name, int64_t length, int64_t null_count, nb::list buffers,
           nb::list children)
        : shared(std::make_shared<Outgoing>(format, name, length, null_count)) {
        for (nb::handle buffer : buffers) {
            shared->buffers.push_back(nullptr);
            if (!buffer.is_none()) shared->buffers.back() = buffer_of(buffer);
        }
        for (nb::handle child : children) shared->children.push_back(nb::cast<const Column&>(child).shared);
    }
};

std::string requested_format(nb::handle capsule) {
    const auto* const schema = static_cast<const ArrowSchema*>(PyCapsule_GetPointer(capsule.ptr(), "arrow_schema"));
    if (schema == nullptr) throw nb::python_error();
    const bool runs = std::strcmp(schema->format, "+r") == 0 && schema->n_children == 2;
    return std::string(schema->format) + (runs ? schema->children[0]->format : "");
}

}  // namespace

void add_arrow(nb::module_& module) {
    nb::class_<Incoming>(module, "ArrowIn", "An array that another library handed over.")
        .def_static("of", &Incoming::of)
        .def_prop_ro("format", [](const Incoming& in) { return nb::str(in.schema->format); })
        .def_prop_ro("name", [](const Incoming& in) { return nb::str(in.schema->name ? in.schema->name : ""); })
        .def_prop_ro("length", [](const Incoming& in) { return in.array->length; })
        .def_prop_ro("offset", [](const Incoming& in) { return in.array->offset; })
        .def_prop_ro("null_count", [](const Incoming& in) { return in.array->null_count; })
        .def_prop_ro("n_buffers", [](const Incoming& in) { return in.array->n_buffers; })
        .def_prop_ro("children", &Incoming::children)
        .def_prop_ro("dictionary", &Incoming::dictionary)
        .def("buffer", &Incoming::buffer);
    module.def("arrow_stream", stream_in);
    module.def("arrow_format", [](nb::handle schema) { return nb::str(requested_format(schema).c_str()); });
    nb::class_<Column>(module, "ArrowOut", "An array to hand over.")
        .def("__init__",
             [](Column* self, nb::str format, nb::str name, int64_t length, int64_t null_count, nb::list buffers,
                nb::list children) {
                 new (self) Column(format.c_str(), name.c_str(), length, null_count, buffers, children);
             })
        .def("schema", [](const Column& column) { return structure<ArrowSchema>(column.shared, "arrow_schema"); })
        .def("array", [](const Column& column) { return structure<ArrowArray>(column.shared, "arrow_array"); })
        .def("stream", [](const Column& column) { return stream_out(column.shared); });
}

}  // namespace qvo::python
