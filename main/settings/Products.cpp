#include "settings/Products.h"

namespace corvella {

const QList<Product> &products()
{
    static const QList<Product> catalogue{
        {QStringLiteral("all"), QStringLiteral("All products (cycle)")},
        {QStringLiteral("rainbow"), QStringLiteral("Rainbow (RHEF composite)")},
        {QStringLiteral("171"), QStringLiteral("AIA 171 \u00C5")},
        {QStringLiteral("193"), QStringLiteral("AIA 193 \u00C5")},
        {QStringLiteral("211"), QStringLiteral("AIA 211 \u00C5")},
        {QStringLiteral("304"), QStringLiteral("AIA 304 \u00C5")},
        {QStringLiteral("335"), QStringLiteral("AIA 335 \u00C5")},
        {QStringLiteral("94"), QStringLiteral("AIA 94 \u00C5")},
        {QStringLiteral("131"), QStringLiteral("AIA 131 \u00C5")},
        {QStringLiteral("1600"), QStringLiteral("AIA 1600 \u00C5 (UV)")},
        {QStringLiteral("1700"), QStringLiteral("AIA 1700 \u00C5 (UV)")},
        {QStringLiteral("composite_uv"), QStringLiteral("Composite (1700/1600/304)")},
        {QStringLiteral("dem"), QStringLiteral("Temperature map (DEM)")},
    };
    return catalogue;
}

} // namespace corvella
