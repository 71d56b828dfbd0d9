// Stands before the thread sanitizer's clone(). That one takes the child for one with memory of its
// own and settles in it what it had set for the fork; Qt's children share the parent's memory until
// they become another program, and so it was settled twice, and from then on the sanitizer saw none
// of the parent's locks.
#include <sys/types.h>

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" int __clone(int (*function)(void *), void *stack, int flags, void *argument, ...);
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)

extern "C" int clone(int (*function)(void *), void *stack, int flags, void *argument, pid_t *parent,
                     void *storage, pid_t *child)
{
    return __clone(function, stack, flags, argument, parent, storage, child);
}
