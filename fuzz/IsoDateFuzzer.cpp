// Dates of any content: what is read as one is an instant of a year that has a text, and its text
// is read as the same instant.
#include "platform/storage/IsoDate.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    using namespace corvella;
    constexpr qsizetype kWholeSeconds = 20; // characters
    constexpr qsizetype kMilliseconds = 24;
    const QString given =
        QString::fromUtf8(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const std::optional<QDateTime> instant = parseIsoDate(given);
    if (!instant)
        return 0;
    const QString text = isoDateText(*instant);
    if (instant->timeSpec() != Qt::UTC || parseIsoDate(text) != instant)
        std::abort();
    if (text.size() != (instant->time().msec() == 0 ? kWholeSeconds : kMilliseconds))
        std::abort();
    if (given.size() == text.size() && given.endsWith(u'Z') && given != text)
        std::abort();
    return 0;
}
