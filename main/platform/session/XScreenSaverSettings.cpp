#include "platform/session/XScreenSaverSettings.h"

#include <QList>

#include <algorithm>
#include <cctype>
#include <limits>
#include <optional>

namespace corvella::XScreenSaverSettings {

namespace {

using Lines = QList<QByteArray>;

const QByteArray kContinued = "\\";
const QByteArray kEntryEnd = "\\n";

// A resource with all the lines that its value goes on over.
struct Resource
{
    qsizetype first = 0;
    qsizetype last = 0;
};

bool isContinued(const QByteArray &line)
{
    return line.endsWith(kContinued);
}

QByteArray withoutContinuation(const QByteArray &line)
{
    return isContinued(line) ? line.chopped(1) : line;
}

bool isBlank(const QByteArray &line)
{
    return line.trimmed().isEmpty();
}

// The last of this name: it is what counts.
std::optional<Resource> find(const Lines &lines, const QByteArray &name)
{
    std::optional<Resource> found;
    for (qsizetype first = 0; first < lines.size(); ++first) {
        qsizetype last = first;
        while (last + 1 < lines.size() && isContinued(lines[last]))
            ++last;
        const QByteArray &line = lines[first];
        if (const qsizetype colon = line.indexOf(':');
            colon > 0 && line.left(colon).trimmed().toLower() == name)
            found = Resource{first, last};
        first = last;
    }
    return found;
}

QByteArray valueOf(const Lines &lines, const Resource &resource)
{
    QByteArray value;
    for (qsizetype i = resource.first; i <= resource.last; ++i)
        value += withoutContinuation(lines[i]);
    return value.mid(value.indexOf(':') + 1);
}

Lines entriesOf(const QByteArray &value)
{
    Lines entries;
    for (qsizetype from = 0; from < value.size();) {
        const qsizetype end = value.indexOf(kEntryEnd, from);
        const QByteArray entry = value.mid(from, end < 0 ? -1 : end - from);
        if (!isBlank(entry))
            entries << entry;
        from = end < 0 ? value.size() : end + kEntryEnd.size();
    }
    return entries;
}

void append(Lines &lines, const Resource &list, const QByteArray &entry)
{
    const QByteArray value = valueOf(lines, list).trimmed();
    const QByteArray separator = value.isEmpty() || value.endsWith(kEntryEnd) ? "" : kEntryEnd;
    if (list.last > list.first && isBlank(lines[list.last])) {
        // The blank line ends the list; it goes on doing so.
        lines.insert(list.last, separator + entry + ' ' + kEntryEnd + kContinued);
        return;
    }
    lines[list.last] += ' ' + separator + kContinued;
    lines.insert(list.last + 1, entry);
}

void addList(Lines &lines, const QByteArray &entry)
{
    // The text ends with a line of its own, and with no line that goes on.
    while (!lines.last().isEmpty() || (lines.size() > 1 && isContinued(lines[lines.size() - 2])))
        lines << QByteArray();
    lines.last() = "programs: \\";
    lines << entry << QByteArray();
}

// The number of a program in the list, moved on where one was put in at or before it.
void keepSelection(Lines &lines, qsizetype newEntry)
{
    const std::optional<Resource> selected = find(lines, "selected");
    if (!selected || selected->first != selected->last)
        return;
    QByteArray &line = lines[selected->first];
    const qsizetype after = line.indexOf(':') + 1;
    const QByteArray value = line.mid(after).trimmed();
    // QByteArray's own reading takes more for a number than is one.
    const bool isNumber = std::all_of(value.begin(), value.end(), [](char character) {
        return std::isdigit(static_cast<unsigned char>(character)) != 0;
    });
    bool isInRange = false;
    const int number = value.toInt(&isInRange);
    if (isNumber && isInRange && number >= newEntry && number < std::numeric_limits<int>::max())
        line.replace(line.indexOf(value, after), value.size(), QByteArray::number(number + 1));
}

// In X resources a backslash stands for itself only in pairs.
QByteArray escaped(QByteArray text)
{
    return text.replace('\\', "\\\\");
}

} // namespace

QByteArray withProgram(const QByteArray &settings, const QByteArray &name,
                       const QByteArray &program, const QByteArray &arguments)
{
    Lines lines = settings.split('\n');
    const QByteArray word = escaped(program);
    const QByteArray entry = "  \"" + name + "\"  " + word + ' ' + arguments;
    const std::optional<Resource> list = find(lines, "programs");
    const Lines entries = list ? entriesOf(valueOf(lines, *list)) : Lines();
    if (std::any_of(entries.begin(), entries.end(),
                    [&](const QByteArray &each) { return each.contains(word); }))
        return settings;
    if (list)
        append(lines, *list, entry);
    else
        addList(lines, entry);
    keepSelection(lines, entries.size());
    return lines.join('\n');
}

QByteArray commandWord(const QByteArray &path)
{
    const bool isPlain = std::all_of(path.begin(), path.end(), [](char character) {
        return std::isalnum(static_cast<unsigned char>(character))
            || QByteArray("/._-+@,:").contains(character);
    });
    if (isPlain)
        return path;
    QByteArray quoted = path;
    return '\'' + quoted.replace('\'', "'\\''") + '\'';
}

} // namespace corvella::XScreenSaverSettings
