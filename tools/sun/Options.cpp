#include "Options.h"

#include <QTextStream>

#include <limits>

namespace corvella::sun {

namespace {

void say(FILE *where, const QString &text)
{
    QTextStream(where) << text << '\n';
}

} // namespace

ExitStatus failed(const QString &message)
{
    say(stderr, QStringLiteral("corvella-sun: ") + message);
    return ExitStatus::Failed;
}

Options::Options(const QString &command, const QString &positional)
    : m_command(command)
    , m_positional(positional)
{
    declareFlag(QStringLiteral("help"), QStringLiteral("Prints this help."));
}

void Options::declare(const QString &name, const QString &meaning, const QString &fallback)
{
    const QString shown = meaning + (fallback.isEmpty() ? QString() : u" Default: " + fallback);
    m_parser.addOption({name, shown, QStringLiteral("value"), fallback});
}

void Options::declareFlag(const QString &name, const QString &meaning)
{
    m_parser.addOption({name, meaning});
}

bool Options::parse(const QStringList &arguments)
{
    if (!m_parser.parse(arguments))
        return refuse(m_parser.errorText());
    if (flag(QStringLiteral("help"))) {
        say(stdout, usageLine() + u'\n' + m_parser.helpText().section(u'\n', 1));
        return false;
    }
    if (m_parser.positionalArguments().size() != 1)
        return refuse(u"exactly one " + m_positional + u" is needed");
    return true;
}

bool Options::good()
{
    return m_error.isEmpty() || refuse(m_error);
}

bool Options::refuse(const QString &reason)
{
    say(stderr, u"corvella-sun: " + reason + u'\n' + usageLine());
    m_status = ExitStatus::Usage;
    return false;
}

QString Options::usageLine() const
{
    return u"Usage: corvella-sun " + m_command + u" [options] " + m_positional;
}

QString Options::path() const
{
    return m_parser.positionalArguments().constFirst();
}

QString Options::text(const QString &name) const
{
    return m_parser.value(name);
}

bool Options::flag(const QString &name) const
{
    return m_parser.isSet(name);
}

int Options::integer(const QString &name, int least, int most)
{
    bool isNumber = false;
    const int value = text(name).toInt(&isNumber);
    if (isNumber && value >= least && value <= most)
        return value;
    m_error = u"--" + name + u" takes a whole number from " + QString::number(least) + u" to "
        + QString::number(most);
    return least;
}

double Options::number(const QString &name, double least, double most)
{
    bool isNumber = false;
    const double value = text(name).toDouble(&isNumber);
    if (isNumber && value >= least && value <= most)
        return value;
    m_error = u"--" + name + u" takes a number from " + QString::number(least) + u" to "
        + QString::number(most);
    return least;
}

std::uint32_t Options::seed()
{
    return static_cast<std::uint32_t>(
        integer(QStringLiteral("seed"), 0, std::numeric_limits<int>::max()));
}

Product Options::named(const QString &id)
{
    if (const std::optional<Product> known = productFromId(id))
        return *known;
    m_error = u"there is no product \"" + id + u'"';
    return Product::Aia171;
}

Product Options::product()
{
    return named(text(QStringLiteral("product")));
}

QList<Product> Options::products()
{
    const QString ids = text(QStringLiteral("products"));
    if (ids == u"all")
        return {kAllProducts.begin(), kAllProducts.end()};
    QList<Product> chosen;
    for (const QString &id : ids.split(u','))
        chosen.append(named(id));
    return chosen;
}

QDateTime Options::instant()
{
    const QString given = text(QStringLiteral("time"));
    if (given == u"now")
        return QDateTime::fromSecsSinceEpoch(QDateTime::currentSecsSinceEpoch(), Qt::UTC);
    QDateTime instant = QDateTime::fromString(given, Qt::ISODate);
    if (!instant.isValid())
        m_error = QStringLiteral("--time takes an instant such as 2026-11-01T12:00:00Z");
    if (instant.timeSpec() == Qt::LocalTime)
        instant.setTimeSpec(Qt::UTC);
    return instant.toUTC();
}

} // namespace corvella::sun
