#include "plot/raster.h"

#include <librsvg/rsvg.h>

#include <cstdint>
#include <memory>
#include <stdexcept>

namespace ko::tool {
namespace {

/// Owns an object of a C library.
template <auto Release>
struct Releaser {
    template <class T>
    void operator()(T* object) const
    {
        Release(object);
    }
};
template <class T, auto Release>
using Owned = std::unique_ptr<T, Releaser<Release>>;

/// Draws on a surface and waits for it to be done.
void draw(const std::string& svg, cairo_surface_t* surface, double width, double height)
{
    GError* error = nullptr;
    const Owned<RsvgHandle, g_object_unref> handle(
        rsvg_handle_new_from_data(reinterpret_cast<const guint8*>(svg.data()), svg.size(), &error));
    const RsvgRectangle everything{0, 0, width, height};
    const Owned<cairo_t, cairo_destroy> context(cairo_create(surface));
    if (!handle || !rsvg_handle_render_document(handle.get(), context.get(), &everything, &error)) {
        const Owned<GError, g_error_free> owned(error);
        throw std::runtime_error(std::string("the diagram cannot be drawn: ") + error->message);
    }
    cairo_surface_flush(surface);
    if (cairo_surface_status(surface) != CAIRO_STATUS_SUCCESS)
        throw std::runtime_error("out of memory for the diagram");
}

}  // namespace

Image rasterise(const std::string& svg, int width, int height)
{
    const Owned<cairo_surface_t, cairo_surface_destroy> surface(
        cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height));
    draw(svg, surface.get(), width, height);
    Image image(makeFormat(width, height, 3, UInt8));
    const unsigned char* const pixels = cairo_image_surface_get_data(surface.get());
    const int stride = cairo_image_surface_get_stride(surface.get());
    for (int y = 0; y < height; ++y) {
        const auto* const from = reinterpret_cast<const std::uint32_t*>(pixels + y * stride);
        auto* const to = rowOf<std::uint8_t>(image, y);
        for (int x = 0; x < width; ++x)
            for (int c = 0; c < 3; ++c)
                to[3 * x + c] = static_cast<std::uint8_t>(from[x] >> (16 - 8 * c));
    }
    return image;
}

}  // namespace ko::tool
