// SPDX-License-Identifier: Apache-2.0
//
// JPEG 2000 through OpenJPEG, as a JP2 file or a bare codestream: grey or RGB, with or without opacity.
// A warning of the decoder is a refusal like an error, since it goes on with pixels made up.
#include <openjpeg.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "tools/qorfp/ImageFile.h"
#include "tools/qorfp/Jpeg2000Header.h"
#include "tools/qorfp/ToolError.h"

namespace qorfp::cli {
namespace {

constexpr uint8_t kJp2Start[] = {0, 0, 0, 12, 'j', 'P', ' ', ' ', '\r', '\n', 0x87, '\n'};

/// The file and where the decoder is in it.
struct Source {
    const uint8_t* data = nullptr;
    size_t size = 0;
    size_t offset = 0;
};

constexpr auto kNoMoreBytes = static_cast<OPJ_SIZE_T>(-1);

OPJ_SIZE_T OnRead(void* target, OPJ_SIZE_T count, void* data) {
    Source& source = *static_cast<Source*>(data);
    const size_t taken = std::min<size_t>(count, source.size - source.offset);
    if (taken == 0) {
        return kNoMoreBytes;
    }
    std::memcpy(target, source.data + source.offset, taken);
    source.offset += taken;
    return taken;
}

OPJ_OFF_T OnSkip(OPJ_OFF_T count, void* data) {
    Source& source = *static_cast<Source*>(data);
    if (count < 0 || static_cast<uint64_t>(count) > source.size - source.offset) {
        return -1;
    }
    source.offset += static_cast<size_t>(count);
    return count;
}

OPJ_BOOL OnSeek(OPJ_OFF_T offset, void* data) {
    Source& source = *static_cast<Source*>(data);
    if (offset < 0 || static_cast<uint64_t>(offset) > source.size) {
        return OPJ_FALSE;
    }
    source.offset = static_cast<size_t>(offset);
    return OPJ_TRUE;
}

/// Keeps the first message. `data` is a text of kMessageBytes.
constexpr size_t kMessageBytes = 200;

void OnMessage(const char* message, void* data) {
    char* const text = static_cast<char*>(data);
    if (text[0] == '\0') {
        std::strncpy(text, message, kMessageBytes - 1);
    }
}

class Decoder {
  public:
    Decoder(const std::string& path, const Bytes& bytes)
        : path_(path),
          source_{bytes.data(), bytes.size(), 0},
          codec_(opj_create_decompress(IsCodestream(bytes) ? OPJ_CODEC_J2K : OPJ_CODEC_JP2),
                 opj_destroy_codec),
          stream_(opj_stream_default_create(OPJ_STREAM_READ), opj_stream_destroy) {
        if (codec_ == nullptr || stream_ == nullptr) {
            throw ToolError(path_, "the JPEG 2000 library could not be started");
        }
        opj_stream_set_read_function(stream_.get(), OnRead);
        opj_stream_set_skip_function(stream_.get(), OnSkip);
        opj_stream_set_seek_function(stream_.get(), OnSeek);
        opj_stream_set_user_data(stream_.get(), &source_, nullptr);
        opj_stream_set_user_data_length(stream_.get(), bytes.size());
        opj_set_warning_handler(codec_.get(), OnMessage, message_);
        opj_set_error_handler(codec_.get(), OnMessage, message_);
    }

    /// The decoded image, with components as the header has promised.
    const opj_image_t& Decode(const Jpeg2000Size& size) {
        opj_dparameters_t parameters = {};
        opj_set_default_decoder_parameters(&parameters);
        // A palette that the header has hidden would be allocated by its own numbers.
        parameters.flags |= OPJ_DPARAMETERS_IGNORE_PCLR_CMAP_CDEF_FLAG;
        Require(opj_setup_decoder(codec_.get(), &parameters));
        opj_image_t* image = nullptr;
        const OPJ_BOOL hasHeader = opj_read_header(stream_.get(), codec_.get(), &image);
        image_.reset(image);
        Require(hasHeader);
        RequireSize(size);
        Require(opj_decode(codec_.get(), stream_.get(), image));
        Require(opj_end_decompress(codec_.get(), stream_.get()));
        RequireSize(size);
        for (uint32_t i = 0; i < size.components; ++i) {
            if (image->comps[i].data == nullptr) {
                throw ToolError(path_, "damaged JPEG 2000: a component without samples");
            }
        }
        return *image;
    }

  private:
    void Require(OPJ_BOOL isDone) const {
        if (isDone == OPJ_FALSE || message_[0] != '\0') {
            throw ToolError(path_, "damaged JPEG 2000: " + OneLine(message_));
        }
    }

    void RequireSize(const Jpeg2000Size& size) const {
        bool isSame = image_->numcomps == size.components;
        for (uint32_t i = 0; isSame && i < size.components; ++i) {
            const opj_image_comp_t& component = image_->comps[i];
            isSame = component.w == size.width && component.h == size.height &&
                     component.prec >= 1 && component.prec <= 16 && component.sgnd == 0;
        }
        if (!isSame) {
            throw ToolError(path_, "damaged JPEG 2000: the size is told in two ways");
        }
    }

    const std::string& path_;
    Source source_;
    char message_[kMessageBytes] = {};
    std::unique_ptr<opj_codec_t, decltype(&opj_destroy_codec)> codec_;
    std::unique_ptr<opj_stream_t, decltype(&opj_stream_destroy)> stream_;
    std::unique_ptr<opj_image_t, decltype(&opj_image_destroy)> image_{nullptr, opj_image_destroy};
};

uint8_t GreyOfComponent(const opj_image_comp_t& component, size_t at) {
    const int32_t maximum = (1 << component.prec) - 1;
    const int32_t sample = std::clamp(component.data[at], 0, maximum);
    return GreyOfSample(static_cast<uint32_t>(sample), static_cast<uint32_t>(maximum));
}

}  // namespace

bool LooksLikeJpeg2000(const Bytes& bytes) {
    return IsCodestream(bytes) || (bytes.size() >= sizeof(kJp2Start) &&
                                   std::memcmp(bytes.data(), kJp2Start, sizeof(kJp2Start)) == 0);
}

GreyImage DecodeJpeg2000(const std::string& path, const Bytes& bytes) {
    const Jpeg2000Size size = ReadJpeg2000Size(path, bytes);
    Decoder decoder(path, bytes);
    const opj_image_t& decoded = decoder.Decode(size);
    GreyImage image(static_cast<int32_t>(size.width), static_cast<int32_t>(size.height));
    for (size_t i = 0; i < image.pixels.size(); ++i) {
        uint8_t sample[4] = {};
        for (uint32_t c = 0; c < size.components; ++c) {
            sample[c] = GreyOfComponent(decoded.comps[c], i);
        }
        image.pixels[i] = GreyOfSamples(sample, size.components);
    }
    return image;
}

}  // namespace qorfp::cli
