#include "image.h"

#include "rooms.h"

#include <pybind11/stl.h>

#include <array>
#include <limits>
#include <string>
#include <utility>

namespace ko::python {

namespace {

struct SampleKind {
    ExImageDataType type;
    char kind;
    int bytes;
    const char* dtype;
};

constexpr std::array<SampleKind, 11> kinds = {{{Int8, 'i', 1, "i1"},
                                               {UInt8, 'u', 1, "u1"},
                                               {Int16, 'i', 2, "i2"},
                                               {UInt16, 'u', 2, "u2"},
                                               {Int32, 'i', 4, "i4"},
                                               {UInt32, 'u', 4, "u4"},
                                               {Float32, 'f', 4, "f4"},
                                               {Float64, 'f', 8, "f8"},
                                               {Sample128, 'V', 16, "V16"},
                                               {Int64, 'i', 8, "i8"},
                                               {UInt64, 'u', 8, "u8"}}};

ExImageDataType sampleTypeOf(const py::dtype& dtype)
{
    const char order = py::detail::array_descriptor_proxy(dtype.ptr())->byteorder;
    if (order != '>' && !dtype.has_fields()) {
        const char kind = dtype.kind() == 'b' ? 'u' : dtype.kind();
        for (const SampleKind& known : kinds) {
            if (known.kind == kind && known.bytes == dtype.itemsize())
                return known.type;
        }
    }
    throw py::type_error("no image has samples of dtype " + std::string(py::str(py::handle(dtype))));
}

std::int32_t sizeOf(py::ssize_t number)
{
    if (number > std::numeric_limits<std::int32_t>::max())
        throw py::value_error("the array is too large for an image");
    return static_cast<std::int32_t>(number);
}

[[noreturn]] void refuseLayout()
{
    throw py::value_error(
        "no image has the layout of the array: samples of a row lie one after another, rows at least "
        "a row apart and planes a whole number of rows");
}

}  // namespace

py::array arrayOver(const py::object& object)
{
    if (py::isinstance<py::array>(object))
        return py::reinterpret_borrow<py::array>(object);
    const py::object numpyArray = py::module_::import("numpy").attr("asarray");
    if (PyObject_CheckBuffer(object.ptr()) != 0)
        return numpyArray(py::memoryview(object));
    if (py::hasattr(object, "__array_interface__") || py::hasattr(object, "__array_struct__"))
        return numpyArray(object);
    throw py::type_error("an array is wanted, not " + std::string(Py_TYPE(object.ptr())->tp_name));
}

ArrayImage::ArrayImage(const py::object& array, std::optional<int> bits, ExPixelPacking order,
                       ExBayerGrid grid, int format)
{
    pixelFormat = format;
    bayerGrid = grid;
    if (array.is_none())
        return;
    py::array samples = arrayOver(array);
    describe(samples, order);
    bitsPerSample = bits.value_or(8 * ko::bytesPerSample(dataType));
    // Anything but 0 and 1 would be no bool.
    m_isWritable = samples.writeable() && samples.dtype().kind() != 'b';
    data = static_cast<std::uint8_t*>(const_cast<void*>(samples.data()));
    m_memory = std::move(samples);
}

ArrayImage::ArrayImage(const SxImageBuf& record, py::object memory, bool isWritable)
    : SxImageBuf(record), m_memory(std::move(memory)), m_isWritable(isWritable)
{
    allocation = memoryTag = bookkeeping[0] = bookkeeping[1] = 0;
}

ArrayImage ArrayImage::owning(const SxImageBuf& allocated)
{
    if (allocated.data == nullptr)
        return ArrayImage(allocated, py::object(), true);
    const auto release = [](void* record) {
        FreeBuffer(*static_cast<SxImageBuf*>(record));
        delete static_cast<SxImageBuf*>(record);
    };
    return ArrayImage(allocated, py::capsule(new SxImageBuf(allocated), release), true);
}

void ArrayImage::describe(const py::array& samples, ExPixelPacking order)
{
    if (samples.ndim() != 2 && samples.ndim() != 3)
        throw py::value_error("an image has 2 or 3 dimensions, not " + std::to_string(samples.ndim()));
    if (order != Interleaved && order != Planar)
        throw py::value_error("no such packing of pixels");
    dataType = sampleTypeOf(samples.dtype());
    packing = order;
    const py::ssize_t bytes = samples.itemsize();
    const bool isMono = samples.ndim() == 2;
    const int rowsAxis = !isMono && order == Planar ? 1 : 0;
    const int channelsAxis = order == Planar ? 0 : 2;
    height = sizeOf(samples.shape(rowsAxis));
    width = sizeOf(samples.shape(rowsAxis + 1));
    channels = isMono ? 1 : sizeOf(samples.shape(channelsAxis));

    const py::ssize_t perPixel = bytes * (order == Interleaved ? channels : 1);
    const py::ssize_t row = perPixel * width;
    const bool hasPlanes = samples.size() > 0 && order == Planar && channels > 1;
    py::ssize_t step = row;
    if (samples.size() > 0) {
        if (width > 1 && samples.strides(rowsAxis + 1) != perPixel)
            refuseLayout();
        if (order == Interleaved && channels > 1 && samples.strides(channelsAxis) != bytes)
            refuseLayout();
        if (height > 1)
            step = samples.strides(rowsAxis);
        else if (hasPlanes)
            step = samples.strides(channelsAxis);
        if (step < row)
            refuseLayout();
    }
    stride = sizeOf(step);
    // Each factor has 31 bits here.
    if (hasPlanes && samples.strides(channelsAxis) != step * height)
        refuseLayout();
    m_ownsAllBytes = step == row;
}

py::object ArrayImage::array() const
{
    if (data == nullptr)
        return py::none();
    const auto& known = kinds[static_cast<std::size_t>(dataType - Int8)];
    const py::ssize_t bytes = known.bytes;
    std::vector<py::ssize_t> shape{height, width};
    std::vector<py::ssize_t> strides{stride, bytes};
    if (channels != 1 && packing == Interleaved) {
        shape.push_back(channels);
        strides = {stride, bytes * channels, bytes};
    } else if (channels != 1) {
        shape.insert(shape.begin(), channels);
        strides.insert(strides.begin(), py::ssize_t{stride} * height);
    }
    py::array pixels(py::dtype(known.dtype), shape, strides, data, m_memory);
    if (!m_isWritable)
        pixels.attr("setflags")(py::arg("write") = false);
    return pixels;
}

void defineImages(py::module_& module)
{
    py::class_<SxImageInfo>(module, "SxImageInfo")
        .def(py::init([](int width, int height, int channels, ExImageDataType type, int bits,
                         ExPixelPacking packing, int stride, int pixelFormat, ExBayerGrid grid) {
                 return SxImageInfo{width, height, stride, channels, bits, type, packing, pixelFormat, grid};
             }),
             py::arg("width") = 0, py::arg("height") = 0, py::arg("channels") = 0, py::arg("dataType") = 0,
             py::arg("bitsPerSample") = 0, py::arg("packing") = Interleaved, py::arg("stride") = 0,
             py::arg("pixelFormat") = 1, py::arg("bayerGrid") = BayerNone)
        .def_readonly("width", &SxImageInfo::width)
        .def_readonly("height", &SxImageInfo::height)
        .def_readonly("stride", &SxImageInfo::stride)
        .def_readonly("channels", &SxImageInfo::channels)
        .def_property_readonly("dataType", [](const SxImageInfo& info) { return info.dataType; })
        .def_property_readonly("packing", [](const SxImageInfo& info) { return info.packing; })
        .def_readwrite("bitsPerSample", &SxImageInfo::bitsPerSample)
        .def_readwrite("pixelFormat", &SxImageInfo::pixelFormat)
        .def_property(
            "bayerGrid", [](const SxImageInfo& info) { return info.bayerGrid; },
            [](SxImageInfo& info, ExBayerGrid grid) { info.bayerGrid = grid; });

    py::class_<ArrayImage, SxImageInfo>(module, "SxImageBuf", py::is_final())
        .def(py::init<const py::object&, std::optional<int>, ExPixelPacking, ExBayerGrid, int>(),
             py::arg("array") = py::none(), py::arg("bits") = py::none(), py::arg("packing") = Interleaved,
             py::arg("bayerGrid") = BayerNone, py::arg("pixelFormat") = 1)
        .def_property_readonly("array", &ArrayImage::array)
        .def_property_readonly("writable", &ArrayImage::isWritable)
        .def("__bool__", [](const ArrayImage& image) { return image.data != nullptr; })
        .def(
            "__array__",
            [](const ArrayImage& image, const py::object& dtype) -> py::object {
                if (image.data == nullptr)
                    throw py::value_error("the image is absent");
                const py::object array = image.array();
                return dtype.is_none() ? array : array.attr("astype")(dtype, py::arg("copy") = false);
            },
            py::arg("dtype") = py::none());
}

}  // namespace ko::python
