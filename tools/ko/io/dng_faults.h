// The pixels of a sensor that a DNG file tells to be faulty.
#pragma once

#include "io/dng_opcodes.h"
#include "io/raw_samples.h"

#include <QPoint>
#include <QRect>
#include <ko/image.h>

#include <cstdint>
#include <vector>

namespace ko::tool {

/// What becomes of a correction.
enum Fate { Applied, Left, Damaged };

/// Of the picture that is read of a sensor. The file counts places from the corner of all that it holds.
class DngFaults {
public:
    DngFaults(LibRaw_abstract_datastream& stream, const libraw_data_t& raw, const RawSamples& samples,
              const SxImageInfo& format);

    /// Takes what a correction tells. What it says of the pattern of the mosaic is not needed.
    Fate add(const Opcode& opcode);

    /// In the order of rows.
    std::vector<QPoint> places() const;

private:
    bool addConstant(const OpcodeBody& body);
    bool addList(const OpcodeBody& body);
    bool add(const QRect& part);

    LibRaw_abstract_datastream& m_stream;
    const RawSamples& m_samples;
    bool m_isSupported;          ///< pixels have one sample, as it stands in the file
    QRect m_sensor;              ///< all that the file holds
    QRect m_picture;             ///< what is read of it
    std::int64_t m_left;         ///< how many more a sound file may tell
    int m_constants = 0;         ///< that have been looked for
    std::vector<bool> m_faulty;  ///< of the picture, row by row; empty for none
};

}  // namespace ko::tool
