// A home whose cache holds the clips that a test lays there. One for all tests of a process,
// because the cache's folder is fixed for as long.
#pragma once

#include "support/TemporaryHome.h"

#include <QStringList>

namespace corvella::test {

class StockedHome : public TemporaryHome
{
public:
    [[nodiscard]] static const StockedHome &shared();

    // Takes out all settings and imagery.
    void clear() const;
    // The cache holds these products from now on, with one clip each: 10 pictures of 64 x 64 at 30
    // a second.
    void stock(const QStringList &products) const;
    [[nodiscard]] QString clip(const QString &product) const
    {
        return cache(QStringLiteral("Corvella/%1.mp4").arg(product));
    }

private:
    StockedHome() = default;
};

} // namespace corvella::test
