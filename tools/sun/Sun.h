#pragma once

#include "Product.h"

#include <QImage>

#include <cstdint>
#include <memory>

namespace corvella::sun {

class Scene;

struct SunOptions
{
    std::uint32_t seed = 1;
    int threads = 0; // that work on a picture, which does not depend on it; 0: one per core
};

// A simulated Sun as an extreme-ultraviolet telescope sees it, north up, east on the left. One
// scene of magnetic field lines, each with a density and a temperature, is made once for a seed;
// every product is that scene through another filter. The same seed, product, time and size give
// the same picture. render() may be called from several threads at once.
class Sun
{
public:
    explicit Sun(const SunOptions &options);
    ~Sun();

    Sun(const Sun &) = delete;
    Sun &operator=(const Sun &) = delete;

    // A square picture, Format_RGB888, `size` pixels on a side; the disc's radius is 0.385 of it.
    // Any time is fine, also a negative one; the Sun turns once in about 27 days.
    QImage render(Product product, double hoursSinceStart, int size) const;

private:
    std::unique_ptr<const Scene> m_scene;
    int m_threads;
};

} // namespace corvella::sun
