// From operations to Python functions.
#pragma once

#include "containers.h"
#include "enumerations.h"
#include "gil.h"
#include "image.h"
#include "values.h"

#include <QVector>

#include <array>
#include <cstddef>
#include <memory>
#include <tuple>
#include <type_traits>
#include <utility>

namespace ko::python {

/// An image that an operation reads: the record as it is now, and its memory, for as long as the call runs. Other
/// threads may change or free the Python object meanwhile.
class Source {
public:
    explicit Source(const ArrayImage& image) : m_record(image), m_memory(image.memory()) {}

    operator const SxImageBuf&() const { return m_record; }
    const SxImageBuf* operator->() const { return &m_record; }

private:
    SxImageBuf m_record;
    py::object m_memory;
};

/// An image that an operation writes. Throws ValueError for one that is read-only.
class Destination {
public:
    explicit Destination(const ArrayImage& image) : m_record(image), m_memory(image.memory())
    {
        if (!image.isWritable())
            throw py::value_error("the destination is read-only");
    }

    operator SxImageBuf&() { return m_record; }
    const SxImageBuf* operator->() const { return &m_record; }

private:
    SxImageBuf m_record;
    py::object m_memory;
};

/// Throws ValueError for an image without the memory between and behind its rows, where an operation uses that.
inline void needAllBytes(const ArrayImage& image, const char* name)
{
    if (image.data != nullptr && !image.ownsAllBytes())
        throw py::value_error(
            std::string(name) +
            ": rows with memory of others between them; the operation uses all bytes from the first "
            "row to the last, so pass a copy");
}

/// How a parameter of an operation comes from Python: `Given` is what pybind11 converts, the object lasts as long as
/// the call. Numbers, enumerations, points and rectangles are their own.
template <class T>
struct Argument {
    using Given = std::decay_t<T>;
    explicit Argument(const Given& given) : value(given) {}
    const Given& get() const { return value; }

private:
    Given value;
};

template <>
struct Argument<const SxImageBuf&> : Source {
    using Given = const ArrayImage&;
    using Source::Source;
    const SxImageBuf& get() const { return *this; }
};

template <>
struct Argument<SxImageBuf&> : Destination {
    using Given = const ArrayImage&;
    using Destination::Destination;
    SxImageBuf& get() { return *this; }
};

template <>
struct Argument<const CxImageHistogram&> : CountersInUse {
    using Given = const Counters&;
    using CountersInUse::CountersInUse;
    CxImageHistogram& get() { return *this; }
};

template <>
struct Argument<CxImageHistogram&> : Argument<const CxImageHistogram&> {
    using Argument<const CxImageHistogram&>::Argument;
};

template <>
struct Argument<CxImageHistogram2D&> {
    using Given = CxImageHistogram2D&;
    explicit Argument(CxImageHistogram2D& given) : value(given) {}
    CxImageHistogram2D& get() const { return value; }

private:
    CxImageHistogram2D& value;
};

template <>
struct Argument<CxImageHistogramSparse2D&> {
    using Given = SparseCounters&;
    explicit Argument(SparseCounters& given) : m_claim(given.use), m_counts(given.counts) {}
    CxImageHistogramSparse2D& get() const { return m_counts; }

private:
    Claim m_claim;
    CxImageHistogramSparse2D& m_counts;
};

/// A work buffer for an operation, as a parameter of the functions that are bound.
template <class Buffer>
struct Work {
    void* buffer;
};

template <class Buffer>
struct Argument<Work<Buffer>> {
    using Given = Buffer*;
    explicit Argument(Buffer* given)
    {
        if (given == nullptr)
            return;
        m_claim.emplace(given->use);
        m_buffer = given->opened();
    }
    Work<Buffer> get() const { return {m_buffer}; }

private:
    std::optional<Claim> m_claim;
    void* m_buffer = nullptr;
};

/// Takes over what an operation has made; None where that is null.
template <class Buffer>
std::unique_ptr<Buffer> owner(void* buffer)
{
    return buffer == nullptr ? nullptr : std::make_unique<Buffer>(buffer);
}

/// The function that releases such a buffer before its owner does.
template <class Buffer>
void defineFree(py::module_& module, const char* name)
{
    module.def(
        name,
        [](Buffer* buffer) {
            if (buffer != nullptr)
                buffer->close();
        },
        py::arg("buffer").none(true));
}

template <class Function>
auto withoutGil(const Function& function)
{
    const WithoutGil released;
    return function();
}

/// Names of the parameters of a function, as many as it has.
template <std::size_t Count>
using Names = std::array<const char*, Count>;

namespace detail {

template <class Result, class... Parameters, std::size_t... Index>
void define(py::module_& module, const char* name, Result (*operation)(Parameters...),
            const Names<sizeof...(Parameters)>& names, std::index_sequence<Index...>)
{
    module.def(
        name,
        [operation](typename Argument<Parameters>::Given... given) {
            std::tuple<Argument<Parameters>...> arguments(given...);
            return withoutGil([&] { return operation(std::get<Index>(arguments).get()...); });
        },
        py::arg(names[Index])...);
}

}  // namespace detail

/// Makes an operation a function of the module: it runs without the GIL and returns what the operation returns.
template <class Result, class... Parameters>
void define(py::module_& module, const char* name, Result (*operation)(Parameters...),
            const std::type_identity_t<Names<sizeof...(Parameters)>>& names)
{
    detail::define(module, name, operation, names, std::index_sequence_for<Parameters...>());
}

/// One of the overloads of an operation.
template <class... Parameters>
constexpr auto overload(ResultCode (*operation)(Parameters...))
{
    return operation;
}

}  // namespace ko::python
