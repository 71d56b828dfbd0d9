#include "platform/pictures/DesktopChoice.h"
#include "platform/pictures/PictureBackEnds.h"
#include "platform/pictures/RememberedState.h"
#include "platform/pictures/RunningSwaybg.h"
#include "platform/pictures/SwayConnection.h"

#include <QJsonArray>

#include <algorithm>

namespace corvella {

namespace {

const QString kSway = idOf(PictureDesktop::sway);
const QString kOutput = QStringLiteral("output");
const QString kBackground = QStringLiteral("background");

// What an output without any background shows.
const SwayBackground kBare{QStringLiteral("#3f3f3f"), QStringLiteral("solid_color")};

std::optional<QString> command(const QString &output, const SwayBackground &background)
{
    QStringList words = background;
    if (words.value(1) != kBare.last()) {
        const std::optional<QString> file = swayWord(words.value(0));
        if (!file)
            return std::nullopt;
        words[0] = *file;
    }
    return QStringLiteral("output %1 bg %2").arg(output, words.join(u' '));
}

// sway's own command, which lasts until its configuration is read again: then the user's is back.
class DesktopPicturesSway final : public DesktopPictures
{
public:
    Reach reach() const override { return Reach::eachScreen; }

    Present present(const QList<PictureScreen> &screens, const QStringList &known) override
    {
        const QMap<QString, SwayBackground> all = backgroundsOf(SwayConnection::address());
        Present present;
        for (const PictureScreen &screen : screens) {
            if (isKnown(screen.name, known)) {
                present.texts << QString();
                continue;
            }
            const SwayBackground background =
                all.value(screen.name, all.value(QStringLiteral("*"), kBare));
            const QJsonObject state{{kOutput, screen.name},
                                    {kBackground, QJsonArray::fromStringList(background)}};
            present.texts << stateText(kSway, state);
        }
        return present;
    }

    QList<Failure> show(const QList<PictureScreen> &screens,
                        const QList<std::optional<QString>> &files) override
    {
        SwayConnection sway;
        QList<Failure> failures;
        for (qsizetype i = 0; i < screens.size(); ++i)
            failures << (files[i] ? set(sway, screens[i].name, fitted(*files[i])) : Failure());
        return failures;
    }

    void putBack(const QList<PictureScreen> &screens, const QStringList &texts) override
    {
        SwayConnection sway;
        for (qsizetype i = 0; i < texts.size(); ++i) {
            if (const std::optional<QJsonObject> state = stateOf(kSway, texts[i])) {
                SwayBackground background;
                for (const auto &word : (*state)[kBackground].toArray())
                    background << word.toString();
                (void)set(sway, (*state)[kOutput].toString(), background);
            } else if (const auto file = fileOfUrl(texts[i]); file && i < screens.size()) {
                (void)set(sway, screens[i].name, {*file, QStringLiteral("fill")});
            }
        }
    }

private:
    static bool isKnown(const QString &output, const QStringList &known)
    {
        return std::any_of(known.begin(), known.end(), [&](const QString &text) {
            const std::optional<QJsonObject> state = stateOf(kSway, text);
            return state && (*state)[kOutput] == output;
        });
    }

    static SwayBackground fitted(const QString &file)
    {
        return {file, QStringLiteral("fit"), QStringLiteral("#000000")};
    }

    static Failure set(SwayConnection &sway, const QString &output,
                       const SwayBackground &background)
    {
        const std::optional<QString> words = command(output, background);
        if (!words)
            return QStringLiteral("sway takes no file of such a name");
        return sway.run({*words}).first();
    }
};

} // namespace

std::unique_ptr<DesktopPictures> createDesktopPicturesSway()
{
    return std::make_unique<DesktopPicturesSway>();
}

} // namespace corvella
