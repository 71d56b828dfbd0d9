#pragma once

#include "Product.h"

#include <QCommandLineParser>
#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>

#include <cstdint>

namespace corvella::sun {

// The exit statuses of corvella-sun.
enum class ExitStatus { Done = 0, Failed = 1, Usage = 2 };

// Says why a file could not be written, on stderr.
ExitStatus failed(const QString &message);

// The options and the one positional argument of a subcommand. Everything that is wrong with them
// ends up in error(); values asked for by then are the defaults.
class Options
{
public:
    Options(const QString &command, const QString &positional);

    void declare(const QString &name, const QString &meaning, const QString &fallback);
    void declareFlag(const QString &name, const QString &meaning);

    // False when the arguments cannot be understood or ask for help; status() then is the end.
    bool parse(const QStringList &arguments);
    ExitStatus status() const { return m_status; }

    // False, after a usage line on stderr, when a value that was read is out of its bounds.
    bool good();

    QString path() const;
    QString text(const QString &name) const;
    bool flag(const QString &name) const;
    int integer(const QString &name, int least, int most);
    double number(const QString &name, double least, double most);
    std::uint32_t seed();
    Product product();         // --product
    QList<Product> products(); // --products; all of them for "all"
    QDateTime instant();       // --time, as UTC in whole seconds; the current time for "now"

private:
    Product named(const QString &id);
    bool refuse(const QString &reason);
    QString usageLine() const;

    QCommandLineParser m_parser;
    QString m_command;
    QString m_positional;
    QString m_error;
    ExitStatus m_status = ExitStatus::Done;
};

} // namespace corvella::sun
