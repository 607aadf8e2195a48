#include "live/jpeg.h"

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

Bytes JpegEncoder::encode(const Image& picture, Detail wanted)
{
    const bool isGray = picture->channels == 1;
    const int sampling = isGray ? TJSAMP_GRAY : wanted == Close ? TJSAMP_444 : TJSAMP_420;
    m_buffer.resize(tjBufSize(picture->width, picture->height, sampling));
    unsigned char* to = m_buffer.data();
    unsigned long size = m_buffer.size();
    if (tjCompress2(m_handle, picture->data, picture->width, picture->stride, picture->height,
                    isGray ? TJPF_GRAY : TJPF_RGB, &to, &size, sampling, wanted == Close ? 95 : 80,
                    TJFLAG_NOREALLOC) != 0)
        throw std::runtime_error(tjGetErrorStr2(m_handle));
    return {m_buffer.begin(), m_buffer.begin() + static_cast<std::ptrdiff_t>(size)};
}

}  // namespace ko::tool
