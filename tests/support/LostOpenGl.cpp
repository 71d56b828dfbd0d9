// Preloaded into a program that draws with OpenGL: as long as the file LOST_OPENGL is there, no
// context can be made current, as on a graphics processor that was reset.
#include <cstdlib>
#include <dlfcn.h>
#include <unistd.h>

extern "C" int glXMakeCurrent(void *display, unsigned long drawable, void *context)
{
    const char *file = std::getenv("LOST_OPENGL");
    if (context && file && access(file, F_OK) == 0)
        return 0;
    static const auto original = reinterpret_cast<int (*)(void *, unsigned long, void *)>(
        dlsym(RTLD_NEXT, "glXMakeCurrent"));
    return original ? original(display, drawable, context) : 0;
}

// A driver that stays loaded has a name when the leak checker finds what it left.
extern "C" int dlclose(void *)
{
    return 0;
}
