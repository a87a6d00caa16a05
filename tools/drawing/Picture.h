#pragma once

#include <QImage>
#include <QPaintDevice>

#include <memory>
#include <string>

namespace Ambrel::Tool {

class OutputFile;

/// A picture in the making: something to paint on, and its way to a file.
class Picture {
public:
    Picture() noexcept = default;
    Picture(Picture const&) = delete;
    Picture& operator=(Picture const&) = delete;
    virtual ~Picture() = default;

    /// A picture of that size in pixels (of 1/96 inch, where it has a size on paper), in the format
    /// that the name's extension says: ".png", ".svg" or ".pdf"; "-" is PNG. Throws UsageException
    /// for another.
    static std::unique_ptr<Picture> Make(std::string const& name, int width, int height);

    virtual QPaintDevice& Device() = 0;
    /// The image of four bytes a pixel that is painted on, or null.
    virtual QImage* Image() { return nullptr; }
    /// Adds the finished picture to the output. Nothing paints on it any more.
    virtual void WriteTo(OutputFile& output) = 0;
};

} // namespace Ambrel::Tool
