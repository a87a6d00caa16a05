#include "drawing/Canvas.h"

#include "drawing/PdfCanvas.h"
#include "drawing/RasterCanvas.h"
#include "drawing/SvgCanvas.h"
#include "formats/OutputFile.h"
#include "terminal/Console.h"

namespace Ambrel::Tool {

PictureFormat PictureFormatOf(std::string const& name) {
    std::string const extension = name == "-" ? ".png" : ExtensionOf(name);
    if (extension == ".png") {
        return PictureFormat::Png;
    }
    if (extension == ".svg") {
        return PictureFormat::Svg;
    }
    if (extension == ".pdf") {
        return PictureFormat::Pdf;
    }
    throw UsageException("--output: \"" + name + "\" does not end in .png, .svg or .pdf");
}

std::unique_ptr<Canvas> MakeCanvas(PictureFormat format, OutputFile& output, int width,
                                   int height) {
    switch (format) {
    case PictureFormat::Svg: return std::make_unique<SvgCanvas>(output, width, height);
    case PictureFormat::Pdf: return std::make_unique<PdfCanvas>(output, width, height);
    case PictureFormat::Png: break;
    }
    return std::make_unique<RasterCanvas>(output, width, height);
}

} // namespace Ambrel::Tool
