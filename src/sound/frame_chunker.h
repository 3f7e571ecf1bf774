// Cuts a stream of native-endian float samples, arriving as bytes in pieces of any size, into
// buffers of exactly one fixed number of samples. Plain C++; the storage is made once.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <vector>

namespace gs {

class FrameChunker {
public:
    explicit FrameChunker(std::size_t frames) : buffer_(frames) {}

    std::size_t frames() const { return buffer_.size(); }

    // Appends n bytes; calls full(samples) once for every buffer completed (the samples are
    // valid during the call only). A partial sample waits for its remaining bytes.
    template <class Full>
    void push(const char* bytes, std::size_t n, Full&& full) {
        const std::size_t capacity = buffer_.size() * sizeof(float);
        while (n > 0) {
            const std::size_t take = std::min(n, capacity - filled_);
            std::memcpy(reinterpret_cast<char*>(buffer_.data()) + filled_, bytes, take);
            filled_ += take;
            bytes += take;
            n -= take;
            if (filled_ == capacity) {
                filled_ = 0;
                full(static_cast<const float*>(buffer_.data()));
            }
        }
    }

    // Drops a partly filled buffer.
    void clear() { filled_ = 0; }

private:
    std::vector<float> buffer_;
    std::size_t filled_ = 0;  // bytes
};

}  // namespace gs
