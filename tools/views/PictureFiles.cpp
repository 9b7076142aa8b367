#include "tools/views/PictureFiles.h"

#include "tools/views/CairoCanvas.h"
#include "tools/views/SvgCanvas.h"

#include <cerrno>
#include <cstring>
#include <fstream>

namespace VexilHost {
namespace Picture {

std::string svgDocument(const PictureModel& model, const PictureOptions& options) {
    const PictureLayout layout = layoutPicture(model, options);
    SvgCanvas canvas(layout.width, layout.height);
    drawPicture(model, layout, options, canvas);
    return canvas.document();
}

std::string writePictureFiles(const PictureModel& model, const PictureOptions& options,
                              const std::string& svgPath, const std::string& pngPath) {
    const PictureLayout layout = layoutPicture(model, options);
    if (!svgPath.empty()) {
        SvgCanvas canvas(layout.width, layout.height);
        drawPicture(model, layout, options, canvas);
        std::ofstream out(svgPath, std::ios::binary | std::ios::trunc);
        if (out) {
            out << canvas.document();
            out.close();
        }
        if (!out) {
            return svgPath + ": cannot write: " + std::strerror(errno);
        }
    }
    if (!pngPath.empty()) {
        CairoCanvas canvas(layout.width, layout.height);
        drawPicture(model, layout, options, canvas);
        std::string error;
        if (!canvas.writePng(pngPath, error)) {
            return pngPath + ": cannot write: " + error;
        }
    }
    return std::string();
}

} // namespace Picture
} // namespace VexilHost
