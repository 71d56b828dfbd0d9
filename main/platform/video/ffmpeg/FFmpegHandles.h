// FFmpeg's objects as owners that free themselves. Included by this folder's sources only.
#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/display.h>
#include <libavutil/hwcontext.h>
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include <memory>

namespace corvella::ffmpeg {

struct FreeFormat
{
    void operator()(AVFormatContext *context) const { avformat_close_input(&context); }
};
struct FreeCodec
{
    void operator()(AVCodecContext *context) const { avcodec_free_context(&context); }
};
struct FreeFrame
{
    void operator()(AVFrame *frame) const { av_frame_free(&frame); }
};
struct FreePacket
{
    void operator()(AVPacket *packet) const { av_packet_free(&packet); }
};
struct FreeBuffer
{
    void operator()(AVBufferRef *buffer) const { av_buffer_unref(&buffer); }
};
struct FreeScaler
{
    void operator()(SwsContext *context) const { sws_freeContext(context); }
};

using Format = std::unique_ptr<AVFormatContext, FreeFormat>;
using Codec = std::unique_ptr<AVCodecContext, FreeCodec>;
using Frame = std::unique_ptr<AVFrame, FreeFrame>;
using Packet = std::unique_ptr<AVPacket, FreePacket>;
using Buffer = std::unique_ptr<AVBufferRef, FreeBuffer>;
using Scaler = std::unique_ptr<SwsContext, FreeScaler>;

} // namespace corvella::ffmpeg
