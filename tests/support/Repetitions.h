// How often a test does what has to hold thousands of times: a few times among all other tests, and
// as often as the environment says when it runs alone.
#pragma once

#include <QtGlobal>

namespace corvella::test {

// The number in this variable, or `usual` where there is none.
inline int repetitions(const char *variable, int usual)
{
    bool isSet = false;
    const int wanted = qEnvironmentVariableIntValue(variable, &isSet);
    return isSet ? wanted : usual;
}

} // namespace corvella::test
