#include "platform/session/LostDisplay.h"

#include <cstdlib>

namespace corvella {

namespace {

// The objects of the thread that ends the process go before the static ones.
struct EndAtOnce
{
    ~EndAtOnce()
    {
        if (isWanted)
            std::_Exit(EXIT_FAILURE);
    }
    bool isWanted = false;
};

thread_local EndAtOnce endAtOnce;

} // namespace

LostDisplay::LostDisplay()
{
    endAtOnce.isWanted = true;
}

LostDisplay::~LostDisplay()
{
    endAtOnce.isWanted = false;
}

} // namespace corvella
