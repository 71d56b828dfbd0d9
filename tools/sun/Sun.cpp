#include "Sun.h"

#include "ProductPainter.h"

#include <algorithm>
#include <thread>

namespace corvella::sun {

namespace {

int threadsFor(const SunOptions &options)
{
    const int cores = static_cast<int>(std::thread::hardware_concurrency());
    return options.threads > 0 ? options.threads : std::max(1, cores);
}

} // namespace

Sun::Sun(const SunOptions &options)
    : m_scene(std::make_unique<const Scene>(options.seed, threadsFor(options)))
    , m_threads(threadsFor(options))
{
}

Sun::~Sun() = default;

QImage Sun::render(Product product, double hoursSinceStart, int size) const
{
    return paintProduct(*m_scene, product, View(hoursSinceStart, size), m_threads);
}

} // namespace corvella::sun
