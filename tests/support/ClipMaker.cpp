// Encodes a clip for a test: its pictures come as RGB888 over standard input, and what it is to be
// as arguments. Says why on standard error when it fails.
#include "ClipWriter.h"

#include <QFile>
#include <QTextStream>

#include <cstdio>
#include <cstdlib>

int main(int argc, char **argv)
{
    using namespace corvella;

    if (argc != 10)
        return EXIT_FAILURE;
    const auto number = [argv](int argument) { return QByteArray(argv[argument]).toInt(); };
    sun::ClipOptions options;
    options.width = number(2);
    options.height = number(3);
    options.framesPerSecond = number(4);
    options.bFrames = number(5);
    options.range = static_cast<sun::ColourRange>(number(6));
    options.matrix = static_cast<sun::ColourMatrix>(number(7));
    options.rotationDegrees = number(8);
    options.fastStart = number(9) != 0;
    options.crf = 4; // close to lossless: the tests read colours
    options.preset = "ultrafast";

    const auto fail = [](const QString &why) {
        QTextStream(stderr) << why << '\n';
        return EXIT_FAILURE;
    };
    auto [writer, error] = sun::ClipWriter::create(QFile::decodeName(argv[1]), options);
    if (!writer)
        return fail(error);
    QImage picture(options.width, options.height, QImage::Format_RGB888);
    const size_t row = static_cast<size_t>(options.width) * 3;
    for (;;) {
        for (int y = 0; y < options.height; ++y) {
            const size_t got = std::fread(picture.scanLine(y), 1, row, stdin);
            if (y == 0 && got == 0)
                return writer->finish() ? EXIT_SUCCESS : fail(writer->errorText());
            if (got != row)
                return fail(QStringLiteral("a picture that ends in its midst"));
        }
        if (!writer->add(picture))
            return fail(writer->errorText());
    }
}
