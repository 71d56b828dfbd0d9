#include "platform/pictures/DesktopChoice.h"
#include "platform/pictures/PictureBackEnds.h"
#include "platform/pictures/Program.h"
#include "platform/pictures/RememberedState.h"
#include "platform/pictures/SpannedPicture.h"
#include "platform/storage/Resources.h"

#include <QJsonDocument>
#include <QUrl>

#include <algorithm>

namespace corvella {

namespace {

using Key = GSettingsDesktop::Key;

// Texts as GVariant reads them: a backslash and a quote are marked, the rest stands as it is.
QString quoted(QString text)
{
    text.replace(u'\\', QStringLiteral("\\\\")).replace(u'\'', QStringLiteral("\\'"));
    return u'\'' + text + u'\'';
}

// And back; empty for what is no text.
QString unquoted(const QString &value)
{
    if (value.size() < 2 || value.front() != value.back()
        || (value.front() != u'\'' && value.front() != u'"'))
        return {};
    QString text;
    for (qsizetype i = 1; i < value.size() - 1; ++i) {
        if (value[i] == u'\\' && i + 1 < value.size() - 1)
            ++i;
        text += value[i];
    }
    return text;
}

Backdrop::Mode modeOf(const QString &option)
{
    if (option == u"scaled")
        return Backdrop::Mode::scaled;
    if (option == u"stretched")
        return Backdrop::Mode::stretched;
    if (option == u"centered")
        return Backdrop::Mode::centred;
    return option == u"spanned" ? Backdrop::Mode::spanned : Backdrop::Mode::zoomed;
}

// One picture for all monitors, in settings that the desktop watches: these can be written before
// it has come up.
class DesktopPicturesGSettings final : public DesktopPictures
{
public:
    DesktopPicturesGSettings(GSettingsDesktop desktop, const QString &folder)
        : m_desktop(std::move(desktop))
        , m_folder(folder)
    {
    }

    Reach reach() const override { return Reach::allScreens; }

    Present present(const QList<PictureScreen> &screens, const QStringList &known) override
    {
        if (firstStateOf(m_desktop.name, known))
            return {QStringList(screens.size()), {}};
        QJsonObject state;
        for (const QString &schema : schemas()) {
            QJsonObject values;
            if (const Failure failure = read(QStringLiteral("read"), schema, values))
                return {{}, failure};
            state[schema] = values;
        }
        return {QStringList(screens.size(), stateText(m_desktop.name, state)), {}};
    }

    QList<Failure> show(const QList<PictureScreen> &screens,
                        const QList<std::optional<QString>> &files) override
    {
        SpannedPicture picture(m_folder);
        QList<Failure> failures = picture.compose(screens, files, backdrop());
        if (picture.path().isEmpty())
            return failures;
        if (const Failure failure = write(valuesFor(picture.path(), QStringLiteral("spanned"))))
            return QList<Failure>(screens.size(), failure);
        picture.removeOthers();
        return failures;
    }

    void putBack(const QList<PictureScreen> & /*screens*/, const QStringList &texts) override
    {
        if (const std::optional<QJsonObject> state = firstStateOf(m_desktop.name, texts)) {
            (void)write(*state);
            return;
        }
        for (const QString &text : texts) {
            if (const std::optional<QString> file = fileOfUrl(text)) {
                (void)write(valuesFor(*file, QStringLiteral("zoom")));
                return;
            }
        }
    }

private:
    QStringList schemas() const
    {
        QStringList schemas;
        for (const Key &key : m_desktop.keys) {
            if (!schemas.contains(key.schema))
                schemas << key.schema;
        }
        return schemas;
    }

    static QString helper() { return modulePath(QStringLiteral("corvella-gsettings")); }

    Failure read(const QString &verb, const QString &schema, QJsonObject &values) const
    {
        QStringList arguments{verb, schema};
        for (const Key &key : m_desktop.keys) {
            if (key.schema == schema)
                arguments << key.name;
        }
        const ProgramAnswer answer = runProgram(helper(), arguments);
        values = QJsonDocument::fromJson(answer.output).object();
        return answer.failure;
    }

    // By schema, then by key.
    static Failure write(const QJsonObject &values)
    {
        for (auto each = values.begin(); each != values.end(); ++each) {
            const QByteArray json = QJsonDocument(each.value().toObject()).toJson();
            const QStringList arguments{QStringLiteral("write"), each.key()};
            if (Failure failure = runProgram(helper(), arguments, json).failure)
                return failure;
        }
        return {};
    }

    QJsonObject valuesFor(const QString &file, const QString &option) const
    {
        QJsonObject all;
        for (const Key &key : m_desktop.keys) {
            QString value = key.value;
            if (key.meaning == Key::Meaning::path)
                value = quoted(file);
            else if (key.meaning == Key::Meaning::url)
                value = quoted(QUrl::fromLocalFile(file).toString(QUrl::FullyEncoded));
            else if (key.meaning == Key::Meaning::option)
                value = quoted(option);
            QJsonObject schema = all[key.schema].toObject();
            schema[key.name] = value;
            all[key.schema] = schema;
        }
        return all;
    }

    Backdrop backdrop() const
    {
        Backdrop backdrop;
        const QString schema = m_desktop.keys.first().schema;
        QJsonObject values;
        if (read(QStringLiteral("look"), schema, values))
            return backdrop;
        for (const Key &key : m_desktop.keys) {
            const QString text = unquoted(values[key.name].toString());
            if (key.schema != schema || text.isEmpty())
                continue;
            if (key.meaning == Key::Meaning::path)
                backdrop.file = text;
            else if (key.meaning == Key::Meaning::url && backdrop.file.isEmpty())
                backdrop.file = fileOfUrl(text).value_or(QString());
            else if (key.meaning == Key::Meaning::option)
                backdrop.mode = modeOf(text);
            else if (key.name == u"primary-color" && QColor::isValidColor(text))
                backdrop.colour = QColor(text);
        }
        return backdrop;
    }

    const GSettingsDesktop m_desktop;
    const QString m_folder;
};

} // namespace

GSettingsDesktop gnomeSettings()
{
    const QString schema = QStringLiteral("org.gnome.desktop.background");
    return {idOf(PictureDesktop::gnome),
            {{schema, QStringLiteral("picture-uri"), Key::Meaning::url, {}},
             {schema, QStringLiteral("picture-uri-dark"), Key::Meaning::url, {}},
             {schema, QStringLiteral("picture-options"), Key::Meaning::option, {}},
             {schema, QStringLiteral("primary-color"), Key::Meaning::fixed,
              QStringLiteral("'#000000'")},
             {schema, QStringLiteral("color-shading-type"), Key::Meaning::fixed,
              QStringLiteral("'solid'")}}};
}

GSettingsDesktop cinnamonSettings()
{
    const QString schema = QStringLiteral("org.cinnamon.desktop.background");
    return {idOf(PictureDesktop::cinnamon),
            {{schema, QStringLiteral("picture-uri"), Key::Meaning::url, {}},
             {schema, QStringLiteral("picture-options"), Key::Meaning::option, {}},
             {schema, QStringLiteral("primary-color"), Key::Meaning::fixed,
              QStringLiteral("'#000000'")},
             {schema, QStringLiteral("color-shading-type"), Key::Meaning::fixed,
              QStringLiteral("'solid'")},
             // It would go on to the next of the user's pictures.
             {schema + QStringLiteral(".slideshow"), QStringLiteral("slideshow-enabled"),
              Key::Meaning::fixed, QStringLiteral("false")}}};
}

GSettingsDesktop mateSettings()
{
    const QString schema = QStringLiteral("org.mate.background");
    return {
        idOf(PictureDesktop::mate),
        {{schema, QStringLiteral("picture-filename"), Key::Meaning::path, {}},
         {schema, QStringLiteral("draw-background"), Key::Meaning::fixed, QStringLiteral("true")},
         {schema, QStringLiteral("picture-options"), Key::Meaning::option, {}},
         {schema, QStringLiteral("primary-color"), Key::Meaning::fixed,
          QStringLiteral("'#000000'")},
         {schema, QStringLiteral("color-shading-type"), Key::Meaning::fixed,
          QStringLiteral("'solid'")}}};
}

std::unique_ptr<DesktopPictures> createDesktopPicturesGSettings(const GSettingsDesktop &desktop,
                                                                const QString &folder)
{
    return std::make_unique<DesktopPicturesGSettings>(desktop, folder);
}

} // namespace corvella
