// NumPy .npy (format 1.0) encoding of the per-pixel escape data.
#pragma once

#include <QByteArray>

#include "core/shading.h"

namespace gs {

// A little-endian float32 array of shape (height, width, 3), C order: nu, distance,
// trapDistance per pixel.
QByteArray encodeNpy(const PixelExtendedData* data, int width, int height);

}  // namespace gs
