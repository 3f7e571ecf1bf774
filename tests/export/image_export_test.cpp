#include "export/image_export.h"

#include <gtest/gtest.h>

#include <QImageReader>

#include "export_test_support.h"

namespace gs {
namespace {

class ImageExport : public test::PrivateTempDir {};

QImage picture(int w, int h, std::uint8_t seed) {
    QImage image(w, h, QImage::Format_RGBX8888);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            image.setPixelColor(x, y, QColor((x * 7 + seed) % 256, (y * 13) % 256, seed));
    return image;
}

QDateTime at(qint64 ms) { return QDateTime::fromMSecsSinceEpoch(ms, Qt::UTC); }

// Whole seconds toward zero, not down.
TEST(ImageExportName, IsTheWholeSecondsSince1970) {
    for (const auto& [ms, name] : {std::pair{1'700'000'000'999, "Glimmerscape-1700000000.png"},
                                   {0, "Glimmerscape-0.png"},
                                   {-1'500, "Glimmerscape--1.png"}})
        EXPECT_EQ(imageExportFileName(at(ms)), QLatin1String(name));
}

// The file holds the picture at its pixel size; a second export within the same second gets
// the same name and replaces the first.
TEST_F(ImageExport, WritesThePictureAndReplacesAnExportOfTheSameSecond) {
    const auto first = exportPicture(picture(37, 21, 1), at(1'700'000'000'100));
    ASSERT_TRUE(first);
    EXPECT_EQ(*first, QDir(tempPath()).filePath("Glimmerscape-1700000000.png"));
    EXPECT_EQ(QImage(*first).convertToFormat(QImage::Format_RGBX8888), picture(37, 21, 1));
    const auto second = exportPicture(picture(12, 8, 2), at(1'700'000'000'900));
    ASSERT_TRUE(second);
    EXPECT_EQ(*second, *first);
    EXPECT_EQ(tempFiles(), QStringList{"Glimmerscape-1700000000.png"});
    QImageReader reader(*second);
    EXPECT_EQ(reader.format(), "png");
    EXPECT_EQ(reader.read().convertToFormat(QImage::Format_RGBX8888), picture(12, 8, 2));
}

// The kept copy stays as it was when the live buffer changes, and keeping the next picture of
// the same size reuses its memory.
TEST(KeptPicture, IsACopyThatReusesItsMemory) {
    QImage live = picture(9, 5, 3);
    QImage kept;
    keepPictureCopy(kept, QImage(live.constBits(), 9, 5, live.bytesPerLine(), live.format()));
    const uchar* memory = kept.constBits();
    live.fill(Qt::white);
    EXPECT_EQ(kept, picture(9, 5, 3));
    keepPictureCopy(kept, QImage(live.constBits(), 9, 5, live.bytesPerLine(), live.format()));
    EXPECT_EQ(kept, live);
    EXPECT_EQ(kept.constBits(), memory);
    keepPictureCopy(kept, picture(4, 4, 1));
    EXPECT_EQ(kept, picture(4, 4, 1));
}

// Before any picture, nothing; under a $TMPDIR that does not exist, no file, and none in the
// working directory either.
TEST_F(ImageExport, WithoutAPictureOrATemporaryDirectoryWritesNothing) {
    EXPECT_FALSE(exportPicture(QImage(), at(1'700'000'000'000)));
    const QString previous = QDir::currentPath();
    QDir::setCurrent(tempPath());
    qputenv("TMPDIR", QDir(tempPath()).filePath("missing").toLocal8Bit());
    EXPECT_FALSE(exportPicture(picture(4, 4, 0), at(1'700'000'000'000)));
    QDir::setCurrent(previous);
    EXPECT_TRUE(tempFiles().isEmpty());
}

}  // namespace
}  // namespace gs
