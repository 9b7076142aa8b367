// Writing scene pictures to files: SVG text, and PNG through cairo.
#pragma once

#include "tools/views/PictureModel.h"
#include "tools/views/PictureRenderer.h"

#include <string>

namespace VexilHost {
namespace Picture {

/// The picture of `model` as an SVG document. Throws PictureError (see layoutPicture).
std::string svgDocument(const PictureModel& model, const PictureOptions& options);

/// Writes the picture of `model` as SVG to `svgPath` and as PNG to `pngPath` (an empty path: not
/// wanted). Returns an empty text, or "<file>: cannot write: <why>" for a file that cannot be written.
/// Throws PictureError (see layoutPicture) before writing anything.
std::string writePictureFiles(const PictureModel& model, const PictureOptions& options,
                              const std::string& svgPath, const std::string& pngPath);

} // namespace Picture
} // namespace VexilHost
