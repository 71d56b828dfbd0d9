// What a desktop needs to put back what it had, as one text: a JSON object that names the desktop
// it belongs to. Or, from elsewhere, just the URL of a file. Any thread.
#pragma once

#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <optional>

namespace corvella {

[[nodiscard]] QString stateText(const QString &desktop, QJsonObject state);

// What stateText() was given; none when the text is anything else or of another desktop.
[[nodiscard]] std::optional<QJsonObject> stateOf(const QString &desktop, const QString &text);
// Those of the texts that are states of this desktop.
[[nodiscard]] QStringList statesOf(const QString &desktop, const QStringList &texts);
// The first of them: for desktops that have one state for all screens.
[[nodiscard]] std::optional<QJsonObject> firstStateOf(const QString &desktop,
                                                      const QStringList &texts);

// The path of a plain file URL, none for everything else.
[[nodiscard]] std::optional<QString> fileOfUrl(const QString &text);

} // namespace corvella
