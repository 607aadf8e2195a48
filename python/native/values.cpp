#include "values.h"

#include "image.h"

#include <limits>

namespace ko::python {

namespace {

template <class T>
bool fits(long long number)
{
    return number >= std::numeric_limits<T>::min() && number <= std::numeric_limits<T>::max();
}

/// A whole number within the range of T; ValueError for others.
template <class T>
T wholeNumber(py::handle given)
{
    const auto number = py::reinterpret_steal<py::object>(PyNumber_Index(given.ptr()));
    if (!number)
        throw py::error_already_set();
    int overflow = 0;
    const long long value = PyLong_AsLongLongAndOverflow(number.ptr(), &overflow);
    if (overflow != 0 || !fits<T>(value))
        throw py::value_error("the number " + std::string(py::str(py::handle(number))) + " does not fit");
    return static_cast<T>(value);
}

}  // namespace

QVariant variantOf(py::handle number)
{
    PyObject* const object = number.ptr();
    if (PyIndex_Check(object) == 0) {
        const PyNumberMethods* const methods = Py_TYPE(object)->tp_as_number;
        if (methods == nullptr || methods->nb_float == nullptr)
            throw py::type_error("a number is wanted, not " + std::string(Py_TYPE(object)->tp_name));
        const double value = PyFloat_AsDouble(object);
        if (PyErr_Occurred() != nullptr)
            throw py::error_already_set();
        return value;
    }
    const auto whole = py::reinterpret_steal<py::object>(PyNumber_Index(object));
    if (!whole)
        throw py::error_already_set();
    int overflow = 0;
    const long long value = PyLong_AsLongLongAndOverflow(whole.ptr(), &overflow);
    if (overflow == 0 && fits<int>(value))
        return static_cast<int>(value);
    if (overflow == 0 && fits<unsigned>(value))
        return static_cast<unsigned>(value);
    if (overflow == 0)
        return value;
    const unsigned long long large = overflow > 0 ? PyLong_AsUnsignedLongLong(whole.ptr()) : 0;
    if (overflow < 0 || PyErr_Occurred() != nullptr) {
        PyErr_Clear();
        throw py::value_error("a number of more than 64 bits");
    }
    return large;
}

py::object numberOf(const QVariant& variant)
{
    switch (variant.userType()) {
    case QMetaType::Float:
    case QMetaType::Double:
        return py::float_(variant.toDouble());
    case QMetaType::ULongLong:
        return py::int_(variant.toULongLong());
    default:
        return py::int_(variant.toLongLong());
    }
}

template <>
QVariant elementOf<QVariant>(py::handle number)
{
    return variantOf(number);
}

template <>
double elementOf<double>(py::handle number)
{
    return variantOf(number).toDouble();
}

template <>
int elementOf<int>(py::handle number)
{
    return wholeNumber<int>(number);
}

template <>
unsigned char elementOf<unsigned char>(py::handle number)
{
    return wholeNumber<unsigned char>(number);
}

std::optional<std::vector<std::int64_t>> wholeNumbers(py::handle sequence, py::ssize_t count)
{
    if (PySequence_Check(sequence.ptr()) == 0 || PyUnicode_Check(sequence.ptr()) ||
        PyBytes_Check(sequence.ptr()))
        return {};
    if (PySequence_Size(sequence.ptr()) != count) {
        PyErr_Clear();
        return {};
    }
    std::vector<std::int64_t> numbers;
    for (py::ssize_t i = 0; i < count; ++i) {
        const auto item = py::reinterpret_steal<py::object>(PySequence_GetItem(sequence.ptr(), i));
        const bool isWhole = item && PyIndex_Check(item.ptr()) != 0;
        const Py_ssize_t number = isWhole ? PyNumber_AsSsize_t(item.ptr(), nullptr) : 0;
        if (!isWhole || PyErr_Occurred() != nullptr) {
            PyErr_Clear();
            return {};
        }
        numbers.push_back(number);
    }
    return numbers;
}

int coordinate(std::int64_t number)
{
    if (!fits<int>(number))
        throw py::value_error("a coordinate of more than 32 bits");
    return static_cast<int>(number);
}

std::optional<py::array_t<std::int64_t>> pointsOf(py::handle points)
{
    if (points.is_none() || py::isinstance<ArrayImage>(points) || PyUnicode_Check(points.ptr()))
        return {};
    py::array array = py::array::ensure(points);
    if (!array) {
        PyErr_Clear();
        return {};
    }
    const bool isEmpty = array.size() == 0;
    const char kind = array.dtype().kind();
    if (!isEmpty && (array.ndim() != 2 || array.shape(1) != 2 || (kind != 'i' && kind != 'u')))
        return {};
    if (isEmpty)
        return py::array_t<std::int64_t>(std::vector<py::ssize_t>{0, 2});
    if (kind == 'u' && array.itemsize() == 8)
        return {};
    return py::array_t<std::int64_t>(array.attr("astype")("int64"));
}

}  // namespace ko::python
