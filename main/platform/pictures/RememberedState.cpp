#include "platform/pictures/RememberedState.h"

#include <QJsonDocument>
#include <QUrl>

namespace corvella {

namespace {

const QString kDesktopKey = QStringLiteral("desktop");

} // namespace

QString stateText(const QString &desktop, QJsonObject state)
{
    state[kDesktopKey] = desktop;
    return QString::fromUtf8(QJsonDocument(state).toJson(QJsonDocument::Compact));
}

std::optional<QJsonObject> stateOf(const QString &desktop, const QString &text)
{
    const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8());
    if (!document.isObject() || document[kDesktopKey] != desktop)
        return std::nullopt;
    QJsonObject state = document.object();
    state.remove(kDesktopKey);
    return state;
}

QStringList statesOf(const QString &desktop, const QStringList &texts)
{
    QStringList states = texts;
    states.removeIf([&desktop](const QString &text) { return !stateOf(desktop, text); });
    return states;
}

std::optional<QJsonObject> firstStateOf(const QString &desktop, const QStringList &texts)
{
    const QStringList states = statesOf(desktop, texts);
    return states.isEmpty() ? std::nullopt : stateOf(desktop, states.first());
}

std::optional<QString> fileOfUrl(const QString &text)
{
    const QUrl url(text, QUrl::StrictMode);
    QString file = url.toLocalFile();
    // The system would take what is before such a character for the name.
    if (!url.isLocalFile() || file.contains(QChar::Null))
        return std::nullopt;
    return file;
}

} // namespace corvella
