#include "platform/pictures/DesktopChoice.h"
#include "platform/pictures/PictureBackEnds.h"
#include "platform/pictures/RememberedState.h"
#include "platform/pictures/ServiceCall.h"
#include "platform/pictures/WindowProperty.h"

#include <QDBusArgument>
#include <QDBusVariant>
#include <QJsonArray>
#include <QMap>

#include <algorithm>

namespace corvella {

namespace {

const QString kXfce = idOf(PictureDesktop::xfce);
const QString kXfconf = QStringLiteral("org.xfce.Xfconf");
const QString kChannel = QStringLiteral("xfce4-desktop");

QVariant unwrapped(const QVariant &value)
{
    return value.canConvert<QDBusVariant>() ? value.value<QDBusVariant>().variant() : value;
}

// With its type, so that the same comes back: {"i": 3}, {"a": [{"d": 0.5}]}. Null for a kind that
// no backdrop has.
QJsonValue typed(const QVariant &wrapped)
{
    const QVariant value = unwrapped(wrapped);
    switch (value.typeId()) {
    case QMetaType::Bool:
        return QJsonObject{{QStringLiteral("b"), value.toBool()}};
    case QMetaType::Int:
        return QJsonObject{{QStringLiteral("i"), value.toInt()}};
    case QMetaType::UInt:
        return QJsonObject{{QStringLiteral("u"), static_cast<qint64>(value.toUInt())}};
    case QMetaType::Double:
        return QJsonObject{{QStringLiteral("d"), value.toDouble()}};
    case QMetaType::QString:
        return QJsonObject{{QStringLiteral("s"), value.toString()}};
    default:
        break;
    }
    if (!value.canConvert<QDBusArgument>()
        || value.value<QDBusArgument>().currentSignature() != QLatin1String("av"))
        return QJsonValue::Null;
    QJsonArray elements;
    for (const QVariant &element : qdbus_cast<QVariantList>(value))
        elements << typed(element);
    return QJsonObject{{QStringLiteral("a"), elements}};
}

QVariant untyped(const QJsonObject &typed)
{
    const QString type = typed.keys().value(0);
    const QJsonValue value = typed[type];
    if (type == u"b")
        return value.toBool();
    if (type == u"i")
        return value.toInt();
    if (type == u"u")
        return static_cast<uint>(value.toInteger());
    if (type == u"d")
        return value.toDouble();
    if (type != u"a")
        return value.toString();
    QVariantList elements;
    for (const auto &element : value.toArray())
        elements << untyped(element.toObject());
    return elements;
}

ServiceAnswer call(const char *method, const QVariantList &arguments)
{
    return ask(serviceCall(kXfconf, QStringLiteral("/org/xfce/Xfconf"), kXfconf,
                           QString::fromLatin1(method), arguments));
}

// Null: back to what the desktop brings along.
ServiceAnswer setProperty(const QString &property, const QJsonValue &typedValue)
{
    constexpr bool kWithThoseBelow = false;
    return typedValue.isNull()
        ? call("ResetProperty", {kChannel, property, kWithThoseBelow})
        : call("SetProperty",
               {kChannel, property,
                QVariant::fromValue(QDBusVariant(untyped(typedValue.toObject())))});
}

const QString kImage = QStringLiteral("last-image");
const QString kStyle = QStringLiteral("image-style");

QJsonObject integer(int value)
{
    return {{QStringLiteral("i"), value}};
}

// What a backdrop shows instead of a file: the whole of it, and black beside it.
QJsonObject valuesFor(const QString &file)
{
    constexpr int kScaled = 4;
    constexpr int kSolidColour = 0;
    QJsonArray black;
    for (const double component : {0.0, 0.0, 0.0, 1.0})
        black << QJsonObject{{QStringLiteral("d"), component}};
    return {{kImage, QJsonObject{{QStringLiteral("s"), file}}},
            {kStyle, integer(kScaled)},
            {QStringLiteral("color-style"), integer(kSolidColour)},
            {QStringLiteral("rgba1"), QJsonObject{{QStringLiteral("a"), black}}},
            {QStringLiteral("backdrop-cycle-enable"), QJsonObject{{QStringLiteral("b"), false}}}};
}

int workspaces()
{
    const x11::Connection server = x11::connectToServer();
    if (!server)
        return 1;
    constexpr uint32_t kAtMost = 64;
    const uint32_t count = x11::numbersOf(server.get(), x11::rootWindow(server.get()),
                                          "_NET_NUMBER_OF_DESKTOPS", XCB_ATOM_CARDINAL)
                               .value(0);
    return static_cast<int>(std::clamp(count, 1U, kAtMost));
}

// A backdrop for each monitor and workspace, in settings that xfdesktop watches.
class DesktopPicturesXfce final : public DesktopPictures
{
public:
    Reach reach() const override { return Reach::eachScreen; }

    Present present(const QList<PictureScreen> &screens, const QStringList &known) override
    {
        Backdrops backdrops;
        if (const Failure failure = read(backdrops))
            return {{}, failure};
        Present present;
        for (const PictureScreen &screen : screens) {
            QJsonObject state; // by property
            for (const QString &backdrop : backdropsOf(screen, backdrops)) {
                for (const QString &key : valuesFor({}).keys())
                    state[backdrop + key] = typed(backdrops.value(backdrop + key));
            }
            // A workspace can be new where the monitor is not.
            for (const QString &text : known) {
                const QJsonObject before = stateOf(kXfce, text).value_or(QJsonObject());
                for (const QString &property : before.keys())
                    state.remove(property);
            }
            present.texts << (state.isEmpty() ? QString() : stateText(kXfce, state));
        }
        return present;
    }

    QList<Failure> show(const QList<PictureScreen> &screens,
                        const QList<std::optional<QString>> &files) override
    {
        Backdrops backdrops;
        if (const Failure failure = read(backdrops))
            return QList<Failure>(screens.size(), failure);
        QList<Failure> failures;
        for (qsizetype i = 0; i < screens.size(); ++i)
            failures << (files[i] ? show(backdropsOf(screens[i], backdrops), *files[i], backdrops)
                                  : Failure());
        return failures;
    }

    void putBack(const QList<PictureScreen> &screens, const QStringList &texts) override
    {
        Backdrops backdrops;
        if (read(backdrops))
            return;
        for (qsizetype i = 0; i < texts.size(); ++i) {
            if (const std::optional<QJsonObject> state = stateOf(kXfce, texts[i]))
                (void)apply(*state, backdrops);
            else if (const auto file = fileOfUrl(texts[i]); file && i < screens.size())
                (void)show(backdropsOf(screens[i], backdrops), *file, backdrops);
        }
    }

private:
    using Backdrops = QVariantMap; // all properties of all of them

    static Failure read(Backdrops &backdrops)
    {
        const ServiceAnswer answer = call("GetAllProperties", {kChannel, QStringLiteral("/")});
        backdrops = qdbus_cast<QVariantMap>(answer.values.value(0));
        return answer.failure;
    }

    // The properties' common beginnings: of all workspaces that there are, or have been.
    static QStringList backdropsOf(const PictureScreen &screen, const Backdrops &backdrops)
    {
        const QString monitor = QStringLiteral("/backdrop/screen0/monitor") + screen.name + u'/';
        QStringList found;
        const int count = workspaces();
        for (int i = 0; i < count; ++i)
            found << monitor + QStringLiteral("workspace%1/").arg(i);
        for (const QString &property : backdrops.keys()) {
            const QString backdrop = property.left(property.lastIndexOf(u'/') + 1);
            if (backdrop.startsWith(monitor) && !found.contains(backdrop))
                found << backdrop;
        }
        return found;
    }

    static Failure show(const QStringList &backdrops, const QString &file, const Backdrops &now)
    {
        QJsonObject state;
        const QJsonObject values = valuesFor(file);
        for (const QString &backdrop : backdrops) {
            for (auto value = values.begin(); value != values.end(); ++value)
                state[backdrop + value.key()] = value.value();
        }
        return apply(state, now);
    }

    // Gives the properties these values; the first that cannot be set does not keep the others.
    static Failure apply(const QJsonObject &state, const Backdrops &now)
    {
        QMap<QString, QJsonObject> changes; // by backdrop, then by key
        for (auto each = state.begin(); each != state.end(); ++each) {
            const qsizetype key = each.key().lastIndexOf(u'/') + 1;
            if (each.value() != typed(now.value(each.key())))
                changes[each.key().left(key)][each.key().mid(key)] = each.value();
        }
        Failure first;
        for (auto each = changes.begin(); each != changes.end(); ++each) {
            for (const auto &[key, value] : inOrder(each.value(), now.value(each.key() + kStyle))) {
                const ServiceAnswer answer = setProperty(each.key() + key, value);
                if (answer.failure && !first)
                    first = answer.failure;
                if (answer.isSilent)
                    return first; // and will be for the others
            }
        }
        return first;
    }

    // xfdesktop loads the picture anew at each change, and can crash where one comes while it
    // loads: so that it loads once, it is told to show none until all else is set.
    static QList<std::pair<QString, QJsonValue>> inOrder(QJsonObject changes,
                                                         const QVariant &styleNow)
    {
        constexpr int kNone = 0;
        if (changes.size() == 1)
            return {{changes.begin().key(), changes.begin().value()}};
        const QJsonValue style = changes.contains(kStyle) ? changes.take(kStyle) : typed(styleNow);
        QList<std::pair<QString, QJsonValue>> steps{{kStyle, integer(kNone)}};
        for (auto change = changes.begin(); change != changes.end(); ++change)
            steps.append({change.key(), change.value()});
        steps.append({kStyle, style});
        return steps;
    }
};

} // namespace

std::unique_ptr<DesktopPictures> createDesktopPicturesXfce()
{
    return std::make_unique<DesktopPicturesXfce>();
}

} // namespace corvella
