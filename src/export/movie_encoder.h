// H.264 movies in a QuickTime (.mov) file through FFmpeg: BGRA pictures are turned into
// yuv420p (BT.709 matrix, limited range, tagged as such; see yuv_simd.h), libavcodec's libx264
// encodes them and libavformat writes the file.
#pragma once

#include <QString>
#include <cstddef>
#include <cstdint>
#include <memory>

struct AVFrame;

namespace gs {

struct MovieSettings {
    int width = 0, height = 0;  // even and at least 2 (yuv420p halves both for colour)
    int framesPerSecond = 30;
    // x264's "medium" preset at constant quality 16. A palette cycle is very compressible (the
    // picture stands still, only its colours move), so a high quality costs little: a 1080p
    // loop of 250 frames takes about 3 MB and every frame decodes to within a PSNR of 48.8 dB
    // of the lossless frames. Faster presets lose 1.5 to 3 dB to save a few seconds; "slow"
    // gains 0.4 dB for 30 % more time.
    QString preset = QStringLiteral("medium");
    int crf = 16;
    QString encoder = QStringLiteral("libx264");  // an FFmpeg encoder name (tests name a missing one)
    // For tests: the encoder refuses this frame (a failed append), or -1 for none.
    std::int64_t refuseFrame = -1;
};

// One picture in the encoder's input format: yuv420p, Y at full size, U and V at half width
// and height. Made once and reused from frame to frame.
class YuvFrame {
public:
    // Throws std::bad_alloc when the memory cannot be had.
    YuvFrame(int width, int height);
    ~YuvFrame();
    YuvFrame(const YuvFrame&) = delete;
    YuvFrame& operator=(const YuvFrame&) = delete;

    int width() const;
    int height() const;
    std::uint8_t* plane(int i);  // 0: Y, 1: U, 2: V
    const std::uint8_t* plane(int i) const;
    int stride(int i) const;
    // Makes sure nobody else (an encoder still holding the last picture) shares the memory
    // before it is written again. False when new memory was needed and could not be had.
    bool makeWritable();
    AVFrame* frame() { return frame_; }

private:
    AVFrame* frame_ = nullptr;
};

// BGRA rows into yuv420p rows: the luma of each pixel, the chroma of each 2 x 2 block's mean
// colour (a box filter), rounded to the nearest code; converting a picture band by band gives
// the same bytes as converting it whole, whatever the (even) bands. Several threads may use one
// converter at once.
class YuvConverter {
public:
    // Converts rows [row, row + count) of out's picture (row and count even) from bgra, whose
    // first byte is that of pixel (0, row) and whose rows are stride bytes apart.
    void convert(const std::uint8_t* bgra, std::ptrdiff_t stride, int row, int count, YuvFrame& out) const;
};

// One movie, from one thread at a time.
class MovieEncoder {
public:
    // Starts a movie at path. The file is written through a temporary file beside it and only
    // appears under its name when finish() succeeds; an encoder that is not finished (a
    // failure, a cancelled recording) leaves nothing behind. Null, with error set, when the
    // size is not even and positive, the encoder is missing or refuses the settings, or the
    // file cannot be created.
    static std::unique_ptr<MovieEncoder> open(const QString& path, const MovieSettings& settings,
                                              QString* error);
    ~MovieEncoder();
    MovieEncoder(const MovieEncoder&) = delete;
    MovieEncoder& operator=(const MovieEncoder&) = delete;

    // Encodes the picture as the next frame (presentation time index / fps) and writes the
    // packets that are ready. The picture may be reused once this returns (after makeWritable).
    // False, with error set, when the encoder or the file refuses.
    bool encode(YuvFrame& picture, QString* error);
    // Drains the encoder, finishes the file and moves it into place. False, with error set,
    // when any of that fails (the file is then discarded).
    bool finish(QString* error);

    std::int64_t framesWritten() const;

private:
    struct State;
    explicit MovieEncoder(std::unique_ptr<State> state);
    std::unique_ptr<State> s_;
};

}  // namespace gs
