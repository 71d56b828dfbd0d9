#include "platform/video/ClipSource.h"

#include "log.h"
#include "platform/storage/Resources.h"
#include "platform/video/ClipModule.h"

#include <QFile>

#include <dlfcn.h>
#include <mutex>

namespace corvella {

namespace {

// What the module opens clips with, or why it cannot be loaded. Another try is made with the next
// clip then. Once loaded it stays: pictures that it made may be anywhere.
std::variant<OpenClip *, ClipError> loadModule()
{
    static std::mutex mutex;
    static OpenClip *open = nullptr; // guarded by mutex
    const std::lock_guard lock(mutex);
    if (open)
        return open;
    const QByteArray path = QFile::encodeName(modulePath(QStringLiteral(CORVELLA_CLIP_MODULE)));
    void *module = ::dlopen(path.constData(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    void *entry = module ? ::dlsym(module, kClipModuleEntry) : nullptr;
    if (!entry)
        return ClipError{QStringLiteral("what reads clips cannot be loaded: ")
                         + QFile::decodeName(::dlerror())};
    open = reinterpret_cast<ClipModuleEntry *>(entry)(log);
    return open;
}

} // namespace

OpenedClip openClip(const QString &path, const std::atomic_bool &cancelled)
{
    const auto module = loadModule();
    if (const auto *error = std::get_if<ClipError>(&module))
        return *error;
    return std::get<OpenClip *>(module)(path, cancelled);
}

} // namespace corvella
