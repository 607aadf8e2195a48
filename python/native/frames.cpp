#include "frames.h"

#include "rooms.h"
#include "values.h"

#include <utility>

namespace ko::python {

namespace {

/// A frame over the memory of Python. Its end may come on any thread.
class ArrayFrame : public CxImageData {
public:
    explicit ArrayFrame(ArrayImage image) : m_source(std::move(image)) {}
    ~ArrayFrame() override
    {
        const py::gil_scoped_acquire gil;
        m_source = ArrayImage();
    }

    ArrayImage take() { return std::exchange(m_source, ArrayImage()); }

private:
    ArrayImage m_source;
};

QVariant travelling(py::handle value)
{
    if (value.is_none())
        return {};
    if (py::isinstance<py::bool_>(value))
        return value.cast<bool>();
    if (py::isinstance<py::str>(value))
        return QString::fromStdString(value.cast<std::string>());
    if (py::isinstance<py::bytes>(value))
        return QByteArray::fromStdString(value.cast<std::string>());
    return variantOf(value);
}

py::object arrived(const QVariant& value)
{
    switch (value.userType()) {
    case QMetaType::UnknownType:
        return py::none();
    case QMetaType::Bool:
        return py::bool_(value.toBool());
    case QMetaType::QByteArray:
        return py::bytes(value.toByteArray().toStdString());
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Float:
    case QMetaType::Double:
        return numberOf(value);
    default:
        return py::str(value.toString().toStdString());
    }
}

py::object dateOf(const Frame& frame)
{
    if (!frame.date.isValid())
        return py::none();
    const double seconds = static_cast<double>(frame.date.toMSecsSinceEpoch()) / 1000;
    return py::module_::import("datetime").attr("datetime").attr("fromtimestamp")(seconds);
}

/// An independent copy with pixels of its own.
Frame copyOf(const Frame& frame)
{
    const auto& image = frame.image.cast<const ArrayImage&>();
    Frame copy = frame;
    copy.metadata = frame.metadata.attr("copy")();
    ArrayImage pixels = image;
    if (image.data != nullptr) {
        const py::object array = image.array().attr("copy")(py::arg("order") = "C");
        pixels = ArrayImage(array, image.bitsPerSample, image.packing, image.bayerGrid, image.pixelFormat);
    }
    copy.image = py::cast(std::move(pixels));
    return copy;
}

}  // namespace

QVariantMap mapOf(const py::dict& values)
{
    QVariantMap map;
    for (const auto& [name, value] : values) {
        if (!py::isinstance<py::str>(name))
            throw py::type_error("names are strings");
        map.insert(QString::fromStdString(name.cast<std::string>()), travelling(value));
    }
    return map;
}

py::dict dictOf(const QVariantMap& values)
{
    py::dict dict;
    for (auto entry = values.begin(); entry != values.end(); ++entry)
        dict[py::str(entry.key().toStdString())] = arrived(entry.value());
    return dict;
}

std::unique_ptr<CxImageData> frameFor(Frame& frame)
{
    const QVariantMap values = mapOf(frame.metadata);
    const ArrayImage image = frame.image.cast<const ArrayImage&>();
    auto data = std::make_unique<ArrayFrame>(image);
    data->setImageShallow(image, frame.frameNo, frame.timestamp, frame.date);
    for (auto entry = values.begin(); entry != values.end(); ++entry)
        data->metadata().set(entry.key(), entry.value());
    frame.image = py::cast(ArrayImage());
    return data;
}

Frame frameFrom(CxImageData& data)
{
    const SxImageBuf record = std::exchange(data.image(), SxImageBuf());
    auto* const ours = dynamic_cast<ArrayFrame*>(&data);
    QVariantMap values;
    for (const QString& name : data.metadata().names())
        values.insert(name, data.metadata().value(name));
    return {py::cast(ours != nullptr ? ours->take() : ArrayImage::owning(record)), data.frameNo(),
            data.timestamp(), data.dateTime(), dictOf(values)};
}

void defineFrames(py::module_& module)
{
    py::class_<Frame>(module, "CxImageData", py::is_final())
        .def(py::init(
                 [](const ArrayImage& image, int frameNo, std::uint64_t timestamp, const py::dict& metadata) {
                     return Frame{py::cast(image), frameNo, timestamp, {}, py::dict(metadata.attr("copy")())};
                 }),
             py::arg("image") = ArrayImage(), py::arg("frameNo") = 0, py::arg("timestamp") = 0,
             py::arg("metadata") = py::dict())
        .def_readonly("image", &Frame::image)
        .def_readwrite("frameNo", &Frame::frameNo)
        .def_readwrite("timestamp", &Frame::timestamp)
        .def_readwrite("metadata", &Frame::metadata)
        .def_property_readonly("dateTime", &dateOf)
        .def("clone", &copyOf);
}

}  // namespace ko::python
