#include "enumerations.h"

#include <string>

namespace ko::python {

PyObject* memberOf(const Enumeration& enumeration, long long value)
{
    const py::int_ key(value);
    if (PyObject* const member = PyDict_GetItemWithError(enumeration.members, key.ptr()))
        return Py_NewRef(member);
    // As the members of flags are made that have no name. It is kept, so that it is one object like the others.
    const auto integer = py::reinterpret_borrow<py::object>(reinterpret_cast<PyObject*>(&PyLong_Type));
    py::object nameless = integer.attr("__new__")(py::handle(enumeration.type), key);
    nameless.attr("_value_") = key;
    nameless.attr("_name_") = std::to_string(value);
    if (PyDict_SetItem(enumeration.members, key.ptr(), nameless.ptr()) != 0)
        throw py::error_already_set();
    return nameless.release().ptr();
}

Enumeration makeEnumeration(const py::object& scope, const char* name,
                            const std::vector<std::pair<const char*, long long>>& members)
{
    py::list pairs;
    for (const auto& [member, value] : members)
        pairs.append(py::make_tuple(member, value));
    const bool isModule = PyModule_Check(scope.ptr()) != 0;
    const py::object module = isModule ? scope.attr("__name__") : scope.attr("__module__");
    const py::object qualifiedName =
        isModule ? py::str(name) : py::str("{}.{}").format(scope.attr("__qualname__"), name);
    py::object type = py::module_::import("enum").attr("IntEnum")(name, pairs, py::arg("module") = module,
                                                                  py::arg("qualname") = qualifiedName);
    py::dict byValue;
    for (const auto& [member, value] : members) {
        scope.attr(member) = type.attr(member);
        byValue[py::int_(value)] = type.attr(member);
    }
    scope.attr(name) = type;
    return {type.release().ptr(), byValue.release().ptr()};
}

}  // namespace ko::python
