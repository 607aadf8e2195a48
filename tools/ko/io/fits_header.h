// Headers of FITS files.
#pragma once

#include "io/source.h"

#include <zlib.h>

#include <map>
#include <memory>
#include <string>

namespace ko::tool {

/// The keys of a header and what stands under them.
using FitsHeader = std::map<std::string, std::string>;

/// The number under a key, `otherwise` where there is none of type `T`: int, std::int64_t or double.
template <class T>
T numberOf(const FitsHeader& header, const std::string& key, T otherwise);

/// The bytes of its data.
double dataSizeOf(const FitsHeader& header);

/// A FITS file, compressed by gzip or not, read from header to header.
class FitsStream {
public:
    /// Throws `Failure` where it cannot be opened.
    explicit FitsStream(const Source& source);

    /// The header that the stream stands at; empty where there is none.
    FitsHeader readHeader(const std::string& firstCard);

    /// Reads so many bytes; false where the file is shorter.
    bool read(void* to, std::size_t count);

    /// Skips data with its padding; false where the file is shorter or damaged.
    bool skip(double bytes);

    /// Reads on to the end, where files compressed by gzip have a check sum; false where it is wrong.
    bool endsRight();

    double position() const { return static_cast<double>(gztell(m_file.get())); }
    bool isCompressed() { return gzdirect(m_file.get()) == 0; }

private:
    struct Closer {
        void operator()(gzFile file) const { gzclose(file); }
    };

    std::unique_ptr<gzFile_s, Closer> m_file;
};

}  // namespace ko::tool
