#include "drawing/Picture.h"

#include "formats/OutputFile.h"
#include "terminal/Console.h"

#include <QBuffer>
#include <QPageSize>
#include <QPdfWriter>
#include <QSvgGenerator>

#include <algorithm>
#include <filesystem>

namespace Ambrel::Tool {

namespace {

constexpr int pixelsPerInch = 96;
constexpr double pointsPerPixel = 72.0 / pixelsPerInch;
/// Of 0 to 100: a light compression. The usual one takes longer than the drawing.
constexpr int pngQuality = 80;

void Append(OutputFile& output, QByteArray const& bytes) {
    output.Append({bytes.constData(), static_cast<std::size_t>(bytes.size())});
}

class PngPicture final : public Picture {
public:
    PngPicture(int width, int height) : image(width, height, QImage::Format_RGB32) {
        if (image.isNull()) {
            throw std::bad_alloc();
        }
        image.fill(Qt::white);
    }
    QPaintDevice& Device() override { return image; }
    QImage* Image() override { return &image; }
    void WriteTo(OutputFile& output) override {
        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);
        if (!image.save(&buffer, "PNG", pngQuality)) {
            throw std::bad_alloc();
        }
        Append(output, buffer.data());
    }

private:
    QImage image;
};

class SvgPicture final : public Picture {
public:
    SvgPicture(int width, int height) {
        generator.setTitle("Map");
        generator.setDescription("Drawn by ambrel-shp");
        generator.setOutputDevice(&buffer);
        generator.setResolution(pixelsPerInch);
        generator.setSize(QSize(width, height));
        generator.setViewBox(QRect(0, 0, width, height));
    }
    QPaintDevice& Device() override { return generator; }
    void WriteTo(OutputFile& output) override { Append(output, buffer.data()); }

private:
    QBuffer buffer;
    QSvgGenerator generator;
};

class PdfPicture final : public Picture {
public:
    PdfPicture(int width, int height) {
        buffer.open(QIODevice::WriteOnly);
        writer.setResolution(pixelsPerInch);
        writer.setPageSize(
            QPageSize(QSizeF(width, height) * pointsPerPixel, QPageSize::Point, "map"));
        writer.setPageMargins(QMarginsF());
        writer.setCreator("ambrel-shp");
    }
    QPaintDevice& Device() override { return writer; }
    void WriteTo(OutputFile& output) override { Append(output, buffer.data()); }

private:
    QBuffer buffer;
    QPdfWriter writer{&buffer};
};

} // namespace

std::unique_ptr<Picture> Picture::Make(std::string const& name, int width, int height) {
    std::string const extension = name == "-" ? ".png" : ExtensionOf(name);
    if (extension == ".png") {
        return std::make_unique<PngPicture>(width, height);
    }
    if (extension == ".svg") {
        return std::make_unique<SvgPicture>(width, height);
    }
    if (extension == ".pdf") {
        return std::make_unique<PdfPicture>(width, height);
    }
    throw UsageException("--output: \"" + name + "\" does not end in .png, .svg or .pdf");
}

} // namespace Ambrel::Tool
