#pragma once

#include "Product.h"
#include "Scene.h"
#include "View.h"

#include <QImage>

namespace corvella::sun {

// One product's picture of the scene, Format_RGB888.
QImage paintProduct(const Scene &scene, Product product, const View &view, int threads);

} // namespace corvella::sun
