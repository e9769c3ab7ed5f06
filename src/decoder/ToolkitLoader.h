// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "decoder/FormatDetection.h"
#include "decoder/Result.h"

#include <QImageIOHandler>

#include <optional>

class QImageReader;
class QIODevice;

namespace decoder {

/// The toolkit's name of a format that its own loaders read; null for others.
const char* toolkitFormat(Format format);

/// Loads the plug-ins of the toolkit's loaders, so that no file is looked for once requests are served.
void loadToolkitFormats();

/// The size of the picture that a reader at its file's begin will read. The toolkit's own answer for a GIF is
/// that of the first frame, which may cover a part of the picture only.
QSize sizeToBeRead(const QImageReader& reader, Format format);

struct LoadOptions {
    int pixelSize = 0;
    /// Instead of the orientation that the loader finds, which knows of it in JPEG and TIFF only.
    std::optional<QImageIOHandler::Transformations> transformation;
};

/// Decodes with the toolkit's own loader of exactly this format, at a fraction of the size where it can.
Result loadWithToolkit(QIODevice& device, Format format, const LoadOptions& options);

/// A PNG of the thumbnail store at its own size, with its text chunks.
Result loadStoredThumbnail(QIODevice& device);

}  // namespace decoder
