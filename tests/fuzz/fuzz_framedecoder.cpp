// The screen stream as the render library reads it from a device: a series of 16-byte
// headers, each followed by its payload, applied one after another onto one picture.

#include "framedecoder.h"
#include "streamformat.h"

#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FrameDecoder decoder;
    ScreenStream::Picture picture;
    std::string error;
    while (size >= ScreenStream::kHeaderSize) {
        ScreenStream::Header header;
        if (!ScreenStream::parseHeader(data, header, error))
            break;
        data += ScreenStream::kHeaderSize;
        size -= ScreenStream::kHeaderSize;
        const size_t length = header.payloadLength < size ? header.payloadLength : size;
        FrameDecoder::FrameInfo info;
        decoder.apply(header, data, length, picture, info, error);
        data += length;
        size -= length;
    }
    return 0;
}
