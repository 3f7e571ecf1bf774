#include "npy.h"

#include <QtEndian>
#include <cstring>

namespace gs {

QByteArray encodeNpy(const PixelExtendedData* data, int width, int height) {
    QByteArray header = QStringLiteral("{'descr': '<f4', 'fortran_order': False, 'shape': (%1, %2, 3), }")
                            .arg(height)
                            .arg(width)
                            .toLatin1();
    // Magic (6) + version (2) + length (2) + header, padded with blanks to a multiple of 64 and
    // closed by a newline, so the data starts aligned.
    const qsizetype prefix = 10;
    const qsizetype total = (prefix + header.size() + 1 + 63) / 64 * 64;
    header.append(QByteArray(total - prefix - header.size() - 1, ' '));
    header.append('\n');

    QByteArray out("\x93NUMPY\x01\x00", 8);
    const auto length = static_cast<quint16>(header.size());
    out.append(static_cast<char>(length & 0xff));
    out.append(static_cast<char>(length >> 8));
    out.append(header);

    const qsizetype count = qsizetype(width) * height;
    const qsizetype start = out.size();
    out.resize(start + count * 12);
    char* dst = out.data() + start;
    for (qsizetype i = 0; i < count; ++i) {
        const float v[3] = {data[i].nu, data[i].distance, data[i].trapDistance};
        for (float f : v) {
            quint32 bits;
            std::memcpy(&bits, &f, 4);
            qToLittleEndian(bits, dst);
            dst += 4;
        }
    }
    return out;
}

}  // namespace gs
