#include "io/drawing.h"

#include <cmath>
#include <exception>
#include <stdexcept>
#include <string>

namespace Stratum::io {

namespace {

// Exceptions must not pass through the drawing library; the first one waits here.
struct Sink {
    OutputFile& out;
    std::exception_ptr failure;

    static cairo_status_t write(void* self, const unsigned char* data, unsigned length) {
        auto& sink = *static_cast<Sink*>(self);
        try {
            sink.out.write({reinterpret_cast<const char*>(data), length});
            return CAIRO_STATUS_SUCCESS;
        } catch (...) {
            sink.failure = std::current_exception();
            return CAIRO_STATUS_WRITE_ERROR;
        }
    }
};

} // namespace

Surface makeSurface(int width, int height) {
    Surface surface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height));
    const auto status = cairo_surface_status(surface.get());
    if (status != CAIRO_STATUS_SUCCESS)
        throw std::runtime_error(std::string("cannot draw a picture: ") +
                                 cairo_status_to_string(status));
    return surface;
}

std::uint32_t pixelOf(const Colour& c) {
    const auto byte = [](double v) { return static_cast<std::uint32_t>(std::lround(v * 255)); };
    return byte(c.r) << 16 | byte(c.g) << 8 | byte(c.b);
}

void writeSurface(cairo_surface_t* surface, OutputFile& out) {
    Sink sink{out, nullptr};
    const auto status = cairo_surface_write_to_png_stream(surface, &Sink::write, &sink);
    if (sink.failure)
        std::rethrow_exception(sink.failure);
    if (status != CAIRO_STATUS_SUCCESS)
        throw std::runtime_error(std::string("cannot make a PNG: ") +
                                 cairo_status_to_string(status));
}

} // namespace Stratum::io
