#include "live/jpeg.h"

#include <algorithm>
#include <new>
#include <stdexcept>

#include <turbojpeg.h>

namespace ko::tool {

JpegEncoder::JpegEncoder() : m_handle(tjInitCompress())
{
    if (!m_handle)
        throw std::bad_alloc();
}

JpegEncoder::~JpegEncoder()
{
    tjDestroy(m_handle);
}

std::string_view JpegEncoder::encode(const Image& picture, Detail wanted)
{
    const bool isGray = picture->channels == 1;
    const int sampling = isGray ? TJSAMP_GRAY : wanted == Close ? TJSAMP_444 : TJSAMP_420;
    // Its bytes are set once, not for every picture.
    m_buffer.resize(std::max(m_buffer.size(), tjBufSize(picture->width, picture->height, sampling)));
    unsigned char* to = m_buffer.data();
    unsigned long size = m_buffer.size();
    if (tjCompress2(m_handle, picture->data, picture->width, picture->stride, picture->height,
                    isGray ? TJPF_GRAY : TJPF_RGBX, &to, &size, sampling, wanted == Close ? 95 : 70,
                    TJFLAG_NOREALLOC | TJFLAG_ACCURATEDCT) != 0)  // the other one takes longer

        throw std::runtime_error(tjGetErrorStr2(m_handle));
    return {reinterpret_cast<const char*>(to), size};
}

}  // namespace ko::tool
