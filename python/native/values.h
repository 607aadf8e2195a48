// Numbers, points and lists of both between Python and the libraries.
#pragma once

#include "enumerations.h"

#include <QList>
#include <QPoint>
#include <QRect>
#include <QVariant>

#include <pybind11/numpy.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ko::python {

/// A number as a QVariant of the narrowest type that holds it: int, unsigned, 64 bits with and without sign, double.
/// Throws TypeError for what is no number, ValueError for one that needs more than 64 bits.
QVariant variantOf(py::handle number);

/// A QVariant that holds a number, as a Python number.
py::object numberOf(const QVariant& variant);

template <class T>
T elementOf(py::handle number);

/// The values of an array that an operation takes by a pointer: null for None.
template <class T>
class Values {
public:
    /// Throws TypeError for what is no sequence of numbers, ValueError where there are fewer than the operation reads.
    Values(const py::object& given, std::int64_t atLeast, const char* name)
    {
        if (given.is_none())
            return;
        for (const py::handle element : py::iter(given))
            m_values.emplace_back(elementOf<T>(element));
        if (static_cast<std::int64_t>(m_values.size()) < atLeast)
            throw py::value_error(std::string(name) + ": " + std::to_string(atLeast) +
                                  " values are needed, not " + std::to_string(m_values.size()));
        m_values.emplace_back();  // so that no value has an address too
        m_isGiven = true;
    }

    T* get() { return m_isGiven ? m_values.data() : nullptr; }

private:
    std::vector<T> m_values;
    bool m_isGiven = false;
};

/// As many whole numbers as asked for, if that is what a sequence has.
std::optional<std::vector<std::int64_t>> wholeNumbers(py::handle sequence, py::ssize_t count);

/// One of 32 bits; ValueError for others.
int coordinate(std::int64_t number);

/// A list of points as an array of whole numbers of shape (n, 2) and type int64; nothing where it is none.
std::optional<py::array_t<std::int64_t>> pointsOf(py::handle points);

/// Points as an array of shape (n, 2).
template <class Points>
py::array_t<std::int32_t> arrayOf(const Points& points, py::ssize_t count)
{
    py::array_t<std::int32_t> array({count, py::ssize_t{2}});
    auto rows = array.mutable_unchecked<2>();
    for (py::ssize_t i = 0; i < count; ++i) {
        const auto& point = points[static_cast<int>(i)];
        if constexpr (requires { point.x(); }) {
            rows(i, 0) = point.x();
            rows(i, 1) = point.y();
        } else {
            rows(i, 0) = point.x;
            rows(i, 1) = point.y;
        }
    }
    return array;
}

}  // namespace ko::python

namespace pybind11::detail {

template <>
struct type_caster<QPoint> {
    PYBIND11_TYPE_CASTER(QPoint, const_name("tuple[int, int]"));

    bool load(handle source, bool)
    {
        const auto numbers = ko::python::wholeNumbers(source, 2);
        if (numbers)
            value = {ko::python::coordinate((*numbers)[0]), ko::python::coordinate((*numbers)[1])};
        return numbers.has_value();
    }
};

template <>
struct type_caster<QRect> {
    PYBIND11_TYPE_CASTER(QRect, const_name("tuple[int, int, int, int]"));

    bool load(handle source, bool)
    {
        const auto numbers = ko::python::wholeNumbers(source, 4);
        if (!numbers)
            return false;
        int edges[4];
        for (std::size_t i = 0; i < 4; ++i)
            edges[i] = ko::python::coordinate((*numbers)[i]);
        value =
            QRect(QPoint(edges[0], edges[1]), QPoint(ko::python::coordinate((*numbers)[0] + edges[2] - 1),
                                                     ko::python::coordinate((*numbers)[1] + edges[3] - 1)));
        return true;
    }
};

template <class Point>
struct type_caster<QList<Point>> {
    PYBIND11_TYPE_CASTER(QList<Point>, const_name("points"));

    bool load(handle source, bool)
    {
        const auto array = ko::python::pointsOf(source);
        if (!array)
            return false;
        const auto rows = array->template unchecked<2>();
        value.reserve(static_cast<int>(rows.shape(0)));
        for (pybind11::ssize_t i = 0; i < rows.shape(0); ++i)
            value.append(Point{ko::python::coordinate(rows(i, 0)), ko::python::coordinate(rows(i, 1))});
        return true;
    }
};

}  // namespace pybind11::detail
