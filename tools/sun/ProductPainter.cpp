#include "ProductPainter.h"

#include "ChromospherePainter.h"
#include "ColourTable.h"
#include "CoronaPainter.h"
#include "Parallel.h"
#include "RadialEqualizer.h"

#include <algorithm>
#include <array>

namespace corvella::sun {

namespace {

// What the painters of one picture share.
struct Canvas
{
    const Scene &scene;
    const View &view;
    int threads;
};

// A fixed pattern within half a step of the display: it keeps faint gradients free of bands.
float ditherAt(int x, int y)
{
    // Interleaved gradient noise (J. Jimenez): evenly spread, without a visible grain.
    const float wave = 0.06711056F * static_cast<float>(x) + 0.00583715F * static_cast<float>(y);
    const float turned = 52.9829189F * (wave - std::floor(wave));
    return turned - std::floor(turned);
}

uchar displayed(float value, float dither)
{
    return static_cast<uchar>(std::clamp(value * 255 + dither, 0.0F, 255.0F));
}

// `colourAt` maps a column and a row to a Colour.
template <typename ColourAt> QImage toImage(const Canvas &canvas, const ColourAt &colourAt)
{
    const int size = canvas.view.size();
    QImage image(size, size, QImage::Format_RGB888);
    uchar *bits = image.bits();
    const qsizetype stride = image.bytesPerLine();
    runParallel(size, canvas.threads, [&](int y) {
        uchar *pixel = bits + y * stride;
        for (int x = 0; x < size; ++x, pixel += 3) {
            const Colour colour = colourAt(x, y);
            const float dither = ditherAt(x, y);
            pixel[0] = displayed(colour.red, dither);
            pixel[1] = displayed(colour.green, dither);
            pixel[2] = displayed(colour.blue, dither);
        }
    });
    return image;
}

Plane coronaPlane(const Canvas &canvas, Filter filter)
{
    return paintCorona(canvas.scene, filter, canvas.view, canvas.threads);
}

Plane uvPlane(const Canvas &canvas, UvFilter filter)
{
    return paintChromosphere(canvas.scene, filter, canvas.view, canvas.threads);
}

QImage channel(const Canvas &canvas, Product product, const Plane &plane)
{
    const ColourTable &table = colourTableOf(product);
    const Tone tone = toneOf(product);
    return toImage(canvas, [&](int x, int y) { return table.at(tone.at(plane.row(y)[x])); });
}

Colour operator+(const Colour &a, const Colour &b)
{
    return {a.red + b.red, a.green + b.green, a.blue + b.blue};
}

Colour operator*(const Colour &a, float s)
{
    return {a.red * s, a.green * s, a.blue * s};
}

// Away from or towards the grey of the same brightness.
Colour saturated(const Colour &colour, float amount)
{
    const float grey = 0.3F * colour.red + 0.59F * colour.green + 0.11F * colour.blue;
    return Colour{grey, grey, grey} * (1 - amount) + colour * amount;
}

struct Layer
{
    Filter filter;
    Product tone; // whose tone the layer is shown with
    Colour colour;
};

// Cool plasma red, warmer gold, green and blue, the hottest violet; equal light makes a pale grey.
constexpr std::array<Layer, 4> kRainbow{{
    {Filter::Aia304, Product::Aia304, {0.44F, 0.04F, 0.08F}},
    {Filter::Aia171, Product::Aia171, {0.42F, 0.36F, 0.02F}},
    {Filter::Aia193, Product::Aia193, {0.02F, 0.40F, 0.30F}},
    {Filter::Aia211, Product::Aia211, {0.18F, 0.10F, 0.52F}},
}};

// Half the telescope's own tone, half the rank round the disc; the sky fades out at the edges.
Plane rainbowLayer(const Canvas &canvas, const Layer &layer)
{
    Plane plane = coronaPlane(canvas, layer.filter);
    const Plane ranks = radiallyEqualized(plane, canvas.view.pixelsPerRadius(), canvas.threads);
    const Tone tone = toneOf(layer.tone);
    runParallel(plane.size(), canvas.threads, [&](int y) {
        for (int x = 0; x < plane.size(); ++x) {
            const float distance = std::hypot(canvas.view.across(x), canvas.view.upwards(y));
            const float sky = 1 - 0.9F * smoothStep(1.0F, 1.42F, distance);
            const float rank = ranks.row(y)[x] * ranks.row(y)[x] * sky;
            plane.row(y)[x] = 0.62F * tone.at(plane.row(y)[x]) + 0.50F * rank;
        }
    });
    return plane;
}

QImage rainbow(const Canvas &canvas)
{
    std::vector<Plane> planes;
    planes.reserve(kRainbow.size());
    for (const Layer &layer : kRainbow)
        planes.push_back(rainbowLayer(canvas, layer));
    return toImage(canvas, [&](int x, int y) {
        Colour sum;
        for (std::size_t i = 0; i < planes.size(); ++i)
            sum = sum + kRainbow[i].colour * planes[i].row(y)[x];
        return saturated(sum, 1.9F);
    });
}

QImage compositeUv(const Canvas &canvas)
{
    const Plane cool = coronaPlane(canvas, Filter::Aia304);
    const Plane middle = uvPlane(canvas, UvFilter::Uv1600);
    const Plane low = uvPlane(canvas, UvFilter::Uv1700);
    const Tone red = toneOf(Product::Aia304);
    const Tone green = toneOf(Product::Aia1600);
    const Tone blue = toneOf(Product::Aia1700);
    return toImage(canvas, [&](int x, int y) {
        return Colour{1.25F * red.at(cool.row(y)[x]), 0.85F * green.at(middle.row(y)[x]),
                      0.95F * blue.at(low.row(y)[x])};
    });
}

struct Bin
{
    Filter filter;
    float temperature; // log10 of kelvins
    float weight;      // makes the quiet Sun's bins alike
};

constexpr std::array<Bin, 5> kBins{{
    {Filter::Aia171, 5.85F, 0.9F},
    {Filter::Aia193, 6.15F, 1.0F},
    {Filter::Aia211, 6.30F, 1.0F},
    {Filter::Aia335, 6.45F, 0.9F},
    {Filter::Aia94, 6.85F, 0.8F},
}};

const ColourTable &temperatureTable()
{
    static const ColourTable table({{0, {0.10F, 0.12F, 0.75F}},
                                    {0.25F, {0.05F, 0.65F, 0.85F}},
                                    {0.45F, {0.15F, 0.80F, 0.25F}},
                                    {0.65F, {0.98F, 0.88F, 0.15F}},
                                    {0.82F, {1, 0.42F, 0.05F}},
                                    {1, {0.95F, 0.05F, 0.10F}}});
    return table;
}

// The mean temperature of the plasma as the hue, how much of it there is as the brightness.
QImage temperatureMap(const Canvas &canvas)
{
    std::vector<Plane> planes;
    planes.reserve(kBins.size());
    for (const Bin &bin : kBins)
        planes.push_back(coronaPlane(canvas, bin.filter));
    const Tone tone{2.0F, 30};
    return toImage(canvas, [&](int x, int y) {
        float light = 0;
        float weighted = 0;
        for (std::size_t i = 0; i < planes.size(); ++i) {
            const float part = planes[i].row(y)[x] * kBins[i].weight;
            light += part;
            weighted += part * kBins[i].temperature;
        }
        const float mean = light > 0 ? weighted / light : 0;
        const Colour hue = temperatureTable().at((mean - 6.10F) / 0.42F);
        const float brightness = tone.at(light / 2);
        const Colour white{1, 1, 1};
        return hue * (1.15F * brightness) + white * (0.6F * brightness * brightness * brightness);
    });
}

} // namespace

QImage paintProduct(const Scene &scene, Product product, const View &view, int threads)
{
    const Canvas canvas{scene, view, threads};
    switch (product) {
    case Product::Rainbow:
        return rainbow(canvas);
    case Product::Aia171:
        return channel(canvas, product, coronaPlane(canvas, Filter::Aia171));
    case Product::Aia193:
        return channel(canvas, product, coronaPlane(canvas, Filter::Aia193));
    case Product::Aia211:
        return channel(canvas, product, coronaPlane(canvas, Filter::Aia211));
    case Product::Aia304:
        return channel(canvas, product, coronaPlane(canvas, Filter::Aia304));
    case Product::Aia335:
        return channel(canvas, product, coronaPlane(canvas, Filter::Aia335));
    case Product::Aia94:
        return channel(canvas, product, coronaPlane(canvas, Filter::Aia94));
    case Product::Aia131:
        return channel(canvas, product, coronaPlane(canvas, Filter::Aia131));
    case Product::Aia1600:
        return channel(canvas, product, uvPlane(canvas, UvFilter::Uv1600));
    case Product::Aia1700:
        return channel(canvas, product, uvPlane(canvas, UvFilter::Uv1700));
    case Product::CompositeUv:
        return compositeUv(canvas);
    case Product::Dem:
        return temperatureMap(canvas);
    }
    return {};
}

} // namespace corvella::sun
