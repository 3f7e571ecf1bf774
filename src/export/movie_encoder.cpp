#include "movie_encoder.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/opt.h>
#include <libavutil/frame.h>
}

#include <QSaveFile>
#include <cstdio>
#include <new>

#include "export/yuv_simd.h"

namespace gs {
namespace {

constexpr int kIoBufferSize = 1 << 16;

QString ffmpegError(const char* what, int code) {
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(code, text, sizeof text);
    return QStringLiteral("%1: %2").arg(QLatin1String(what), QString::fromUtf8(text));
}

// libavformat writes through these into the QSaveFile (the .mov muxer seeks back to patch
// sizes at the end, which QSaveFile allows).
int writeToFile(void* opaque, std::uint8_t* bytes, int size) {
    auto* file = static_cast<QSaveFile*>(opaque);
    return file->write(reinterpret_cast<const char*>(bytes), size) == size ? size : AVERROR(EIO);
}

std::int64_t seekInFile(void* opaque, std::int64_t offset, int whence) {
    auto* file = static_cast<QSaveFile*>(opaque);
    if (whence & AVSEEK_SIZE) return file->size();
    whence &= ~AVSEEK_FORCE;
    qint64 target = -1;
    if (whence == SEEK_SET) target = offset;
    if (whence == SEEK_CUR) target = file->pos() + offset;
    if (whence == SEEK_END) target = file->size() + offset;
    if (target < 0 || !file->seek(target)) return AVERROR(EINVAL);
    return target;
}

}  // namespace

struct MovieEncoder::State {
    MovieSettings settings;
    QSaveFile file;
    AVIOContext* io = nullptr;
    AVFormatContext* format = nullptr;
    AVCodecContext* codec = nullptr;
    AVStream* stream = nullptr;
    AVPacket* packet = nullptr;
    std::int64_t frames = 0;

    explicit State(const QString& path) : file(path) {}
    ~State() {
        av_packet_free(&packet);
        avcodec_free_context(&codec);
        avformat_free_context(format);  // the custom I/O is freed below, the file by QSaveFile
        if (io) av_freep(&io->buffer);
        avio_context_free(&io);
    }

    bool fail(QString* error, const QString& why) {
        if (error) *error = why;
        return false;
    }
    bool openFile(QString* error);
    bool openCodec(const AVCodec* encoder, QString* error);
    bool writeHeader(QString* error);
    bool send(const AVFrame* input, QString* error);
};

bool MovieEncoder::State::openFile(QString* error) {
    if (!file.open(QIODevice::WriteOnly))
        return fail(error, QStringLiteral("cannot create %1: %2").arg(file.fileName(), file.errorString()));
    auto* buffer = static_cast<unsigned char*>(av_malloc(kIoBufferSize));
    if (buffer) io = avio_alloc_context(buffer, kIoBufferSize, 1, &file, nullptr, writeToFile, seekInFile);
    if (!io) {
        av_free(buffer);
        return fail(error, QStringLiteral("out of memory for the movie's output"));
    }
    if (avformat_alloc_output_context2(&format, nullptr, "mov", nullptr) < 0 || !format)
        return fail(error, QStringLiteral("FFmpeg has no QuickTime (.mov) writer"));
    format->pb = io;
    format->flags |= AVFMT_FLAG_CUSTOM_IO;
    return true;
}

bool MovieEncoder::State::openCodec(const AVCodec* encoder, QString* error) {
    codec = avcodec_alloc_context3(encoder);
    if (!codec) return fail(error, QStringLiteral("out of memory for the encoder"));
    codec->width = settings.width;
    codec->height = settings.height;
    codec->pix_fmt = AV_PIX_FMT_YUV420P;
    codec->time_base = AVRational{1, settings.framesPerSecond};
    codec->framerate = AVRational{settings.framesPerSecond, 1};
    codec->sample_aspect_ratio = AVRational{1, 1};
    codec->color_range = AVCOL_RANGE_MPEG;
    codec->colorspace = AVCOL_SPC_BT709;
    codec->color_primaries = AVCOL_PRI_BT709;
    codec->color_trc = AVCOL_TRC_BT709;
    codec->thread_count = 0;  // as many as the encoder likes
    if (format->oformat->flags & AVFMT_GLOBALHEADER) codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    AVDictionary* options = nullptr;
    av_dict_set(&options, "preset", settings.preset.toUtf8().constData(), 0);
    av_dict_set_int(&options, "crf", settings.crf, 0);
    const int opened = avcodec_open2(codec, encoder, &options);
    av_dict_free(&options);
    if (opened < 0) return fail(error, ffmpegError("the H.264 encoder refused the settings", opened));
    stream = avformat_new_stream(format, nullptr);
    if (!stream) return fail(error, QStringLiteral("out of memory for the movie's track"));
    stream->time_base = codec->time_base;
    stream->avg_frame_rate = codec->framerate;
    const int copied = avcodec_parameters_from_context(stream->codecpar, codec);
    if (copied < 0) return fail(error, ffmpegError("cannot describe the movie's track", copied));
    packet = av_packet_alloc();
    if (!packet) return fail(error, QStringLiteral("out of memory for the encoder"));
    return true;
}

bool MovieEncoder::State::writeHeader(QString* error) {
    const int written = avformat_write_header(format, nullptr);
    // From here on the stream's time base is the muxer's own choice, not the one asked for.
    return written < 0 ? fail(error, ffmpegError("cannot start the movie file", written)) : true;
}

// Sends one frame (null: the end) and writes every packet the encoder has ready, its times
// rescaled from the encoder's time base to the stream's.
bool MovieEncoder::State::send(const AVFrame* input, QString* error) {
    int result = avcodec_send_frame(codec, input);
    if (result < 0) return fail(error, ffmpegError("the encoder refused a frame", result));
    for (;;) {
        result = avcodec_receive_packet(codec, packet);
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) return true;
        if (result < 0) return fail(error, ffmpegError("the encoder failed", result));
        av_packet_rescale_ts(packet, codec->time_base, stream->time_base);
        packet->stream_index = stream->index;
        result = av_interleaved_write_frame(format, packet);
        if (result < 0) return fail(error, ffmpegError("cannot write the movie file", result));
    }
}

MovieEncoder::MovieEncoder(std::unique_ptr<State> state) : s_(std::move(state)) {}
MovieEncoder::~MovieEncoder() = default;

std::unique_ptr<MovieEncoder> MovieEncoder::open(const QString& path, const MovieSettings& settings,
                                                 QString* error) {
    const auto failed = [&](const QString& why) {
        if (error) *error = why;
        return nullptr;
    };
    if (settings.width < 2 || settings.height < 2 || settings.width % 2 || settings.height % 2)
        return failed(QStringLiteral("a movie needs an even size of at least 2 x 2, not %1 x %2")
                          .arg(settings.width)
                          .arg(settings.height));
    if (settings.framesPerSecond < 1) return failed(QStringLiteral("a movie needs a positive frame rate"));
    av_log_set_level(AV_LOG_QUIET);  // failures come back as results; FFmpeg prints nothing
    const AVCodec* encoder = avcodec_find_encoder_by_name(settings.encoder.toUtf8().constData());
    if (!encoder)
        return failed(QStringLiteral("the H.264 encoder '%1' is not available in this FFmpeg")
                          .arg(settings.encoder));
    auto state = std::make_unique<State>(path);
    state->settings = settings;
    if (!state->openFile(error) || !state->openCodec(encoder, error) || !state->writeHeader(error))
        return nullptr;
    return std::unique_ptr<MovieEncoder>(new MovieEncoder(std::move(state)));
}

bool MovieEncoder::encode(YuvFrame& picture, QString* error) {
    if (s_->frames == s_->settings.refuseFrame)
        return s_->fail(error, QStringLiteral("the encoder refused frame %1 (forced)").arg(s_->frames));
    AVFrame* frame = picture.frame();
    frame->pts = s_->frames;
    if (!s_->send(frame, error)) return false;
    ++s_->frames;
    return true;
}

bool MovieEncoder::finish(QString* error) {
    if (!s_->send(nullptr, error)) return false;
    const int written = av_write_trailer(s_->format);
    if (written < 0) return s_->fail(error, ffmpegError("cannot finish the movie file", written));
    avio_flush(s_->io);
    if (s_->io->error < 0) return s_->fail(error, ffmpegError("cannot write the movie file", s_->io->error));
    // commit() would ignore a failed write of the buffered tail (a full disk) and keep a cut file.
    if (!s_->file.flush() || !s_->file.commit())
        return s_->fail(error, QStringLiteral("cannot save %1: %2").arg(s_->file.fileName(), s_->file.errorString()));
    return true;
}

std::int64_t MovieEncoder::framesWritten() const { return s_->frames; }

// ---- Pictures and their conversion ----

YuvFrame::YuvFrame(int width, int height) : frame_(av_frame_alloc()) {
    if (!frame_) throw std::bad_alloc();
    frame_->format = AV_PIX_FMT_YUV420P;
    frame_->width = width;
    frame_->height = height;
    frame_->color_range = AVCOL_RANGE_MPEG;
    frame_->colorspace = AVCOL_SPC_BT709;
    frame_->color_primaries = AVCOL_PRI_BT709;
    frame_->color_trc = AVCOL_TRC_BT709;
    if (av_frame_get_buffer(frame_, 0) < 0) {
        av_frame_free(&frame_);
        throw std::bad_alloc();
    }
}

YuvFrame::~YuvFrame() { av_frame_free(&frame_); }
int YuvFrame::width() const { return frame_->width; }
int YuvFrame::height() const { return frame_->height; }
std::uint8_t* YuvFrame::plane(int i) { return frame_->data[i]; }
const std::uint8_t* YuvFrame::plane(int i) const { return frame_->data[i]; }
int YuvFrame::stride(int i) const { return frame_->linesize[i]; }
bool YuvFrame::makeWritable() { return av_frame_make_writable(frame_) >= 0; }

void YuvConverter::convert(const std::uint8_t* bgra, std::ptrdiff_t stride, int row, int count, YuvFrame& out) const {
    for (int k = 0; k + 1 < count; k += 2) {
        const std::uint8_t* top = bgra + k * stride;
        const int y = row + k;
        yuv::bgraRowPairToYuv420(top, top + stride, out.width(), out.plane(0) + std::ptrdiff_t(y) * out.stride(0),
                                 out.plane(0) + std::ptrdiff_t(y + 1) * out.stride(0),
                                 out.plane(1) + std::ptrdiff_t(y / 2) * out.stride(1),
                                 out.plane(2) + std::ptrdiff_t(y / 2) * out.stride(2));
    }
}

}  // namespace gs
