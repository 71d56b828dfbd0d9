#include "ClipRendering.h"

#include "FrameMark.h"
#include "Progress.h"

#include <algorithm>

namespace corvella::sun {

QString renderClip(const Sun &sun, const ClipSpan &span, const QString &path,
                   const ClipOptions &options)
{
    const auto [writer, error] = ClipWriter::create(path, options);
    if (!writer)
        return error;
    Progress progress(productId(span.product), span.frames);
    const double hoursPerFrame = span.lengthHours / std::max(1, span.frames - 1);
    for (int i = 0; i < span.frames; ++i) {
        QImage frame = sun.render(span.product, span.startHours + i * hoursPerFrame, options.width);
        if (span.marked)
            drawFrameMark(frame, i);
        if (!writer->add(frame))
            return writer->errorText();
        progress.stepDone();
    }
    return writer->finish() ? QString() : writer->errorText();
}

} // namespace corvella::sun
