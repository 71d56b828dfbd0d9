// A user's settings of XScreenSaver of any content: adding a saver twice is adding it once, it
// stands among them then, and every byte that was there before is still there, in its order, but
// for the number of the saver that is chosen.
#include "platform/session/XScreenSaverSettings.h"

#include <cstdlib>

namespace {

// The digits apart, which may count one on.
QByteArray withoutDigits(QByteArray text)
{
    text.removeIf([](char character) { return character >= '0' && character <= '9'; });
    return text;
}

// Whether one text is the other with something put in.
bool isContained(const QByteArray &part, const QByteArray &whole)
{
    qsizetype next = 0;
    for (const char character : whole) {
        if (next < part.size() && part[next] == character)
            ++next;
    }
    return next == part.size();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    using namespace corvella::XScreenSaverSettings;
    const QByteArray before(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const QByteArray program = "/home/a/b\\c/corvella-saver";
    const QByteArray after = withProgram(before, "Corvella", program, "--root");
    if (!after.contains("/home/a/b\\\\c/corvella-saver"))
        std::abort();
    if (withProgram(after, "Corvella", program, "--root") != after)
        std::abort();
    if (!isContained(withoutDigits(before), withoutDigits(after)))
        std::abort();
    return 0;
}
