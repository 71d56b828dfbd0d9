#include "platform/pictures/DesktopChoice.h"
#include "platform/pictures/PictureBackEnds.h"
#include "platform/pictures/RememberedState.h"
#include "platform/pictures/ServiceCall.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QUrl>

#include <algorithm>

namespace corvella {

namespace {

const QString kPlasma = idOf(PictureDesktop::plasma);

// What each desktop of the present activity has, by its place, which is the one thing that Plasma
// and we call the same. Old JavaScript, as Plasma 5 and 6 have it. A key that is not there is null.
const QString kLook = QStringLiteral(R"(
var all = desktops(), found = [], absent = "corvella: absent";
for (var i = 0; i < all.length; ++i) {
    var desktop = all[i];
    if (desktop.screen < 0)
        continue;
    var place = screenGeometry(desktop.screen);
    var state = {id: desktop.id, x: place.x, y: place.y, plugin: desktop.wallpaperPlugin};
    desktop.currentConfigGroup = ["Wallpaper", "org.kde.image", "General"];
    var keys = ["Image", "FillMode", "Color"];
    for (var k = 0; k < keys.length; ++k) {
        var value = String(desktop.readConfig(keys[k], absent));
        state[keys[k]] = value == absent ? null : value;
    }
    found.push(state);
}
print(JSON.stringify(found));
)");

// Gives desktops the states that are wanted of them, and prints the ids of those. There is no way
// to take a key out again: what was not there becomes what it stands for.
const QString kSet = QStringLiteral(R"(
var all = desktops(), done = [], absent = {Image: "", FillMode: "2", Color: "0,0,0"};
function withId(id) {
    for (var i = 0; i < all.length; ++i) {
        if (all[i].id == id)
            return all[i];
    }
    // It may belong to another activity.
    return typeof desktopById == "function" ? desktopById(id) : undefined;
}
for (var w = 0; w < wanted.length; ++w) {
    var want = wanted[w], desktop = withId(want.id);
    if (!desktop)
        continue;
    desktop.wallpaperPlugin = want.plugin;
    desktop.currentConfigGroup = ["Wallpaper", "org.kde.image", "General"];
    for (var key in absent)
        desktop.writeConfig(key, want[key] === null ? absent[key] : want[key]);
    desktop.reloadConfig();
    done.push(desktop.id);
}
print(JSON.stringify(done));
)");

// JavaScript takes JSON for what it says, but for two characters that end its lines.
QString literal(const QJsonArray &array)
{
    QString text = QString::fromUtf8(QJsonDocument(array).toJson(QJsonDocument::Compact));
    return text.replace(QChar::LineSeparator, QStringLiteral("\\u2028"))
        .replace(QChar::ParagraphSeparator, QStringLiteral("\\u2029"));
}

struct ScriptAnswer
{
    QJsonArray printed;
    Failure failure;
};

ScriptAnswer evaluate(const QString &script)
{
    const QString service = QStringLiteral("org.kde.plasmashell");
    const ServiceAnswer answer = ask(serviceCall(service, QStringLiteral("/PlasmaShell"),
                                                 QStringLiteral("org.kde.PlasmaShell"),
                                                 QStringLiteral("evaluateScript"), {script}));
    if (answer.failure)
        return {{}, answer.failure};
    const QString printed = answer.values.value(0).toString();
    const QJsonDocument json = QJsonDocument::fromJson(printed.toUtf8());
    if (!json.isArray())
        return {{}, QStringLiteral("Plasma says: ") + printed.trimmed()};
    return {json.array(), {}};
}

// Containments by script: the shell's own configuration file is not to be touched.
class DesktopPicturesPlasma final : public DesktopPictures
{
public:
    Reach reach() const override { return Reach::eachScreen; }

    Present present(const QList<PictureScreen> &screens, const QStringList &known) override
    {
        const ScriptAnswer desktops = look();
        if (desktops.failure)
            return {{}, desktops.failure};
        Present present;
        for (const PictureScreen &screen : screens) {
            const QJsonObject state = desktopOn(screen, desktops.printed);
            const bool isNew = !state.isEmpty() && !isKnown(state, known);
            present.texts << (isNew ? stateText(kPlasma, state) : QString());
        }
        return present;
    }

    QList<Failure> show(const QList<PictureScreen> &screens,
                        const QList<std::optional<QString>> &files) override
    {
        const ScriptAnswer desktops = look();
        if (desktops.failure)
            return QList<Failure>(screens.size(), desktops.failure);
        QList<Failure> failures(screens.size());
        QJsonArray wanted;
        for (qsizetype i = 0; i < screens.size(); ++i) {
            const QJsonObject desktop = desktopOn(screens[i], desktops.printed);
            if (files[i] && desktop.isEmpty())
                failures[i] = QStringLiteral("Plasma has no desktop there");
            else if (files[i])
                wanted << showing(*files[i], desktop);
        }
        if (const Failure failure = set(wanted))
            return QList<Failure>(screens.size(), failure);
        return failures;
    }

    void putBack(const QList<PictureScreen> &screens, const QStringList &texts) override
    {
        const ScriptAnswer desktops = look();
        QJsonArray wanted;
        for (qsizetype i = 0; i < texts.size(); ++i) {
            if (const std::optional<QJsonObject> state = stateOf(kPlasma, texts[i])) {
                wanted << *state;
            } else if (const auto file = fileOfUrl(texts[i]); file && i < screens.size()) {
                if (const QJsonObject desktop = desktopOn(screens[i], desktops.printed);
                    !desktop.isEmpty())
                    wanted << showing(*file, desktop);
            }
        }
        (void)set(wanted);
    }

private:
    static bool isKnown(const QJsonObject &state, const QStringList &known)
    {
        return std::any_of(known.begin(), known.end(), [&](const QString &text) {
            const std::optional<QJsonObject> other = stateOf(kPlasma, text);
            return other && (*other)[u"id"] == state[u"id"];
        });
    }

    static ScriptAnswer look()
    {
        ScriptAnswer answer = evaluate(kLook);
        if (!answer.failure && answer.printed.isEmpty())
            answer.failure = QStringLiteral("Plasma has no desktops yet");
        return answer;
    }

    // Empty when there is none. A screen's top left corner is where it is at every scale.
    static QJsonObject desktopOn(const PictureScreen &screen, const QJsonArray &desktops)
    {
        for (const auto &each : desktops) {
            QJsonObject desktop = each.toObject();
            if (QPoint(desktop[u"x"].toInt(), desktop[u"y"].toInt()) == screen.place.topLeft())
                return desktop;
        }
        return {};
    }

    static QJsonObject showing(const QString &file, const QJsonObject &desktop)
    {
        return {{QStringLiteral("id"), desktop[u"id"]},
                {QStringLiteral("plugin"), QStringLiteral("org.kde.image")},
                {QStringLiteral("Image"), QUrl::fromLocalFile(file).toString(QUrl::FullyEncoded)},
                {QStringLiteral("FillMode"), QStringLiteral("1")}, // the whole picture
                {QStringLiteral("Color"), QStringLiteral("0,0,0")}};
    }

    static Failure set(const QJsonArray &wanted)
    {
        if (wanted.isEmpty())
            return {};
        return evaluate(QStringLiteral("var wanted = ") + literal(wanted) + QStringLiteral(";")
                        + kSet)
            .failure;
    }
};

} // namespace

std::unique_ptr<DesktopPictures> createDesktopPicturesPlasma()
{
    return std::make_unique<DesktopPicturesPlasma>();
}

} // namespace corvella
