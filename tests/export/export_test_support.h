// Shared by the export tests: a private temporary directory for each test (TMPDIR points at
// it, so QStandardPaths::TempLocation is there) and the list of files in it, and movies decoded
// back into pictures.
#pragma once

#include <gtest/gtest.h>

#include <QDir>
#include <QImage>
#include <QStringList>
#include <QTemporaryDir>
#include <cstdlib>
#include <memory>
#include <vector>

#include "support/run_program.h"

namespace gs::test {

class PrivateTempDir : public testing::Test {
protected:
    void SetUp() override {
        dir_ = std::make_unique<QTemporaryDir>();
        ASSERT_TRUE(dir_->isValid());
        previous_ = qgetenv("TMPDIR");
        restoreTempDir();
    }
    // Points TMPDIR at this test's directory again.
    void restoreTempDir() { qputenv("TMPDIR", dir_->path().toLocal8Bit()); }
    void TearDown() override {
        qputenv("TMPDIR", previous_);
        dir_.reset();
    }
    QString tempPath() const { return dir_->path(); }
    // Every entry of the temporary directory, hidden ones included.
    QStringList tempFiles() const {
        return QDir(dir_->path()).entryList(QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot);
    }

private:
    std::unique_ptr<QTemporaryDir> dir_;
    QByteArray previous_;
};

// The movie's frames decoded by FFmpeg with the colour matrix and range the movie is tagged with,
// as pictures of `size`.
inline std::vector<QImage> decodeMovie(const QString& path, QSize size) {
    const QByteArray raw = runProgram(
        "ffmpeg", {"-v", "error", "-i", path, "-sws_flags", "bicubic+accurate_rnd+full_chroma_int",
                   "-f", "rawvideo", "-pix_fmt", "rgb24", "-"});
    const qsizetype bytes = qsizetype(size.width()) * size.height() * 3;
    std::vector<QImage> frames;
    for (qsizetype at = 0; at + bytes <= raw.size(); at += bytes)
        frames.push_back(QImage(reinterpret_cast<const uchar*>(raw.constData() + at), size.width(),
                                size.height(), size.width() * 3, QImage::Format_RGB888)
                             .convertToFormat(QImage::Format_RGBX8888));
    return frames;
}

// Mean absolute difference per colour channel over the area of `a`.
inline double meanDifference(const QImage& a, const QImage& b) {
    const QImage x = a.convertToFormat(QImage::Format_RGBX8888),
                 y = b.convertToFormat(QImage::Format_RGBX8888);
    double sum = 0;
    for (int row = 0; row < x.height(); ++row)
        for (int i = 0; i < 4 * x.width(); ++i)
            if (i % 4 != 3) sum += std::abs(x.constScanLine(row)[i] - y.constScanLine(row)[i]);
    return sum / (3.0 * x.width() * x.height());
}

}  // namespace gs::test
