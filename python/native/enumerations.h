// Enumerations of the libraries as IntEnums of Python.
#pragma once

#include <pybind11/pybind11.h>

#include <limits>
#include <type_traits>
#include <utility>
#include <vector>

namespace ko::python {

namespace py = pybind11;

/// The Python class of an enumeration, and its members by value. Both live as long as the process.
struct Enumeration {
    PyObject* type = nullptr;
    PyObject* members = nullptr;
};

template <class E>
inline Enumeration enumerationOf;

/// The member of a value, which belongs to the caller. A value without a name is of the class all the same.
PyObject* memberOf(const Enumeration& enumeration, long long value);

/// Makes the class within a module or a class, and its members names there, as in C++.
Enumeration makeEnumeration(const py::object& scope, const char* name,
                            const std::vector<std::pair<const char*, long long>>& members);

template <class E>
void defineEnumeration(const py::object& scope, const char* name,
                       const std::vector<std::pair<const char*, long long>>& members)
{
    enumerationOf<E> = makeEnumeration(scope, name, members);
}

}  // namespace ko::python

namespace pybind11::detail {

/// Any whole number is taken for an enumeration, since operations say themselves which values they know.
template <class E>
struct type_caster<E, std::enable_if_t<std::is_enum_v<E>>> {
    PYBIND11_TYPE_CASTER(E, const_name("int"));
    using Number = std::underlying_type_t<E>;

    bool load(handle source, bool)
    {
        if (PyIndex_Check(source.ptr()) == 0)
            return false;
        const Py_ssize_t number = PyNumber_AsSsize_t(source.ptr(), nullptr);
        if (PyErr_Occurred() != nullptr) {
            PyErr_Clear();
            return false;
        }
        value = static_cast<E>(number);
        return number >= static_cast<Py_ssize_t>(std::numeric_limits<Number>::min()) &&
               number <= static_cast<Py_ssize_t>(std::numeric_limits<Number>::max());
    }

    static handle cast(E member, return_value_policy, handle)
    {
        return ko::python::memberOf(ko::python::enumerationOf<E>, static_cast<long long>(member));
    }
};

}  // namespace pybind11::detail
