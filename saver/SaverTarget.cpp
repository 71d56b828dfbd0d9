#include "saver/SaverTarget.h"

namespace corvella {

namespace {

std::optional<quint32> windowId(const QString &text)
{
    bool isNumber = false;
    const bool isHexadecimal = text.startsWith(u"0x", Qt::CaseInsensitive);
    const quint32 id = text.toUInt(&isNumber, isHexadecimal ? 16 : 10);
    return isNumber && id != 0 ? std::optional(id) : std::nullopt;
}

bool isOption(const QString &argument, QStringView name)
{
    const qsizetype hyphens = argument.startsWith(u"--") ? 2 : 1;
    return argument.startsWith(u'-') && QStringView(argument).mid(hyphens) == name;
}

} // namespace

SaverTarget SaverTarget::choose(const QStringList &arguments, const QString &variable)
{
    bool isRoot = false;
    std::optional<quint32> id;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        isRoot = isRoot || isOption(arguments[i], u"root");
        if (isOption(arguments[i], u"window-id"))
            id = windowId(arguments.value(i + 1));
    }
    if (!id)
        id = windowId(variable);
    if (id)
        return {Kind::window, *id};
    return {isRoot ? Kind::root : Kind::ownWindow, 0};
}

} // namespace corvella
