// The window's dark, calm look: a few colours shared by the custom-drawn controls, and the
// palette applied to the whole application.
#pragma once

#include <QColor>

class QApplication;

namespace gs::style {

inline const QColor kWindow{0x10, 0x12, 0x16};
inline const QColor kPanel{0x16, 0x19, 0x1e};
inline const QColor kText{0xa9, 0xb1, 0xbe};
inline const QColor kTextBright{0xf2, 0xf4, 0xf7};
inline const QColor kTextDim{0x50, 0x57, 0x62};
inline const QColor kCaption{0x74, 0x7d, 0x8b};
inline const QColor kBracket{0x5b, 0x64, 0x72};
inline const QColor kAccent{0xf2, 0xc1, 0x4e};

// Fusion style with the dark palette above.
void applyWindowStyle(QApplication& app);

}  // namespace gs::style
