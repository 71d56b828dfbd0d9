// Reads and writes the settings of the desktops that stand on GSettings, for the program, in a
// process of its own: where a schema is not as expected GLib ends the process, and where its daemon
// hangs GLib waits for ever.
//
//     corvella-gsettings read SCHEMA KEY...
//     corvella-gsettings look SCHEMA KEY...
//     corvella-gsettings write SCHEMA   with a JSON object on standard input
//
// Values are texts as GVariant prints them; null is a key that the user has not set. Reading prints
// a JSON object of those keys that the schema has; looking does so too, with what holds for a key
// that is not set. Writing leaves out those that it does not have,
// and takes effect at once and whole. Exit status 1, with a line on standard error, for failures.
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>
#include <cstdlib>
#include <gio/gio.h>
#include <memory>
#include <span>
#include <string_view>

namespace {

template <auto release> struct Release
{
    template <typename Object> void operator()(Object *object) const { release(object); }
};
using Schema = std::unique_ptr<GSettingsSchema, Release<g_settings_schema_unref>>;
using Settings = std::unique_ptr<GSettings, Release<g_object_unref>>;
using Variant = std::unique_ptr<GVariant, Release<g_variant_unref>>;
using Text = std::unique_ptr<char, Release<g_free>>;

int fail(const QString &reason)
{
    std::fprintf(stderr, "%s\n", qPrintable(reason));
    return EXIT_FAILURE;
}

using Getter = GVariant *(GSettings *settings, const char *key);

QJsonValue printed(GSettings *settings, const QByteArray &key, Getter *get)
{
    const Variant value(get(settings, key.constData()));
    if (!value)
        return QJsonValue::Null;
    const Text text(g_variant_print(value.get(), TRUE));
    return QString::fromUtf8(text.get());
}

bool hasKey(GSettingsSchema *schema, const QByteArray &key)
{
    return g_settings_schema_has_key(schema, key.constData());
}

int read(GSettings *settings, GSettingsSchema *schema, std::span<char *> keys, Getter *get)
{
    QJsonObject values;
    for (const char *key : keys) {
        if (hasKey(schema, key))
            values[QString::fromUtf8(key)] = printed(settings, key, get);
    }
    const QByteArray json = QJsonDocument(values).toJson(QJsonDocument::Compact);
    std::fwrite(json.constData(), 1, static_cast<size_t>(json.size()), stdout);
    return EXIT_SUCCESS;
}

// Empty when it was set, else why not.
QString set(GSettings *settings, const QByteArray &key, const QJsonValue &value)
{
    if (!g_settings_is_writable(settings, key.constData()))
        return QStringLiteral("%1 is locked").arg(QString::fromUtf8(key));
    if (value.isNull()) {
        g_settings_reset(settings, key.constData());
        return {};
    }
    const QByteArray text = value.toString().toUtf8();
    Variant variant(g_variant_parse(nullptr, text.constData(), nullptr, nullptr, nullptr));
    if (!variant)
        return QStringLiteral("%1 is no value").arg(value.toString());
    // Takes its own reference to what is parsed, which is no floating one.
    if (!g_settings_set_value(settings, key.constData(), variant.get()))
        return QStringLiteral("%1 takes no such value").arg(QString::fromUtf8(key));
    return {};
}

// Whether it is there to stay: where the daemon is missing, GLib says so to nobody but the
// terminal.
bool isSet(GSettings *settings, const QByteArray &key, const QJsonValue &value)
{
    const Variant now(g_settings_get_user_value(settings, key.constData()));
    if (!now || value.isNull())
        return !now && value.isNull();
    const QByteArray text = value.toString().toUtf8();
    const Variant wanted(g_variant_parse(g_variant_get_type(now.get()), text.constData(), nullptr,
                                         nullptr, nullptr));
    return wanted && g_variant_equal(now.get(), wanted.get());
}

int write(GSettings *settings, GSettingsSchema *schema, const QJsonObject &values)
{
    g_settings_delay(settings);
    for (auto each = values.begin(); each != values.end(); ++each) {
        const QByteArray key = each.key().toUtf8();
        if (!hasKey(schema, key))
            continue;
        if (const QString reason = set(settings, key, each.value()); !reason.isEmpty())
            return fail(reason);
    }
    g_settings_apply(settings);
    g_settings_sync();
    for (auto each = values.begin(); each != values.end(); ++each) {
        const QByteArray key = each.key().toUtf8();
        if (hasKey(schema, key) && !isSet(settings, key, each.value()))
            return fail(QStringLiteral("%1 does not stay as it is set").arg(each.key()));
    }
    return EXIT_SUCCESS;
}

// Without dconf's module GLib keeps settings in memory and says nothing.
bool isKept(GSettings *settings)
{
    GObject *backend = nullptr;
    g_object_get(settings, "backend", &backend, nullptr);
    const std::unique_ptr<GObject, Release<g_object_unref>> owned(backend);
    return std::string_view(G_OBJECT_TYPE_NAME(backend)) != "GMemorySettingsBackend";
}

} // namespace

int main(int argc, char **argv)
{
    const std::span arguments(argv, static_cast<size_t>(argc));
    if (argc < 3)
        return fail(QStringLiteral("usage: corvella-gsettings read|look|write SCHEMA [KEY...]"));
    // Our last line says what went wrong; GLib's threads would put theirs behind it.
    g_log_set_writer_func(
        [](GLogLevelFlags, const GLogField *, gsize, gpointer) { return G_LOG_WRITER_HANDLED; },
        nullptr, nullptr);
    const char *const name = arguments[2];
    GSettingsSchemaSource *const source = g_settings_schema_source_get_default();
    const Schema schema(source ? g_settings_schema_source_lookup(source, name, TRUE) : nullptr);
    if (!schema)
        return fail(QStringLiteral("there is no schema %1").arg(QString::fromUtf8(name)));
    const Settings settings(g_settings_new(name));
    if (!isKept(settings.get()))
        return fail(QStringLiteral("nothing keeps GSettings here: dconf is missing"));
    const std::string_view verb = arguments[1];
    if (verb == "read")
        return read(settings.get(), schema.get(), arguments.subspan(3), &g_settings_get_user_value);
    if (verb == "look")
        return read(settings.get(), schema.get(), arguments.subspan(3), &g_settings_get_value);
    QFile input;
    if (!input.open(stdin, QIODevice::ReadOnly))
        return fail(QStringLiteral("no values"));
    return write(settings.get(), schema.get(), QJsonDocument::fromJson(input.readAll()).object());
}
