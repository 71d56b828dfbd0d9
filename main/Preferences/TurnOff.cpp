#include "Preferences/TurnOff.h"

#include <QStringList>

namespace corvella {

QString turnOffText(const TurnOffFacts &facts)
{
    QStringList sentences;
    if (facts.restoresDesktop)
        sentences << QStringLiteral("Your previous desktop picture comes back.");
    if (facts.opensAtLogin)
        sentences << QStringLiteral("It stops opening at login.");
    sentences << QStringLiteral("Your settings and downloaded imagery are kept.");
    if (facts.carriesSaver)
        sentences << QStringLiteral("A screen saver added to System Settings stays there; "
                                    "remove it in System Settings.");
    return sentences.join(u' ');
}

} // namespace corvella
