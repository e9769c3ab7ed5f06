// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "decoder/Finish.h"

#include <QColorSpace>
#include <QImage>
#include <QRect>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

struct tiff;

namespace decoder {

class InputDevice;

/// One picture inside a TIFF: its size, and the pieces (tiles or strips) it consists of.
struct TiffPicture {
    std::uint64_t directory = 0;  ///< its offset in the file
    QSize size;
    QSize piece;  ///< a tile, or a strip: as wide as the picture
    bool isTiled = false;
    bool isReduced = false;                          ///< by its own words a smaller copy of another
    QImage::Format format = QImage::Format_Invalid;  ///< of a decoded piece
    bool isConverted = false;                        ///< pieces are decoded by way of libtiff's own RGBA
    int storedSamples = 0;                           ///< of a pixel, where they are not
    int orientation = 1;
    QColorSpace profile;

    int columns() const { return (size.width() + piece.width() - 1) / piece.width(); }
    int rows() const { return (size.height() + piece.height() - 1) / piece.height(); }
    QRect areaOf(int column, int row) const {
        return QRect(QPoint(column * piece.width(), row * piece.height()), piece) & QRect(QPoint(), size);
    }
};

/// libtiff on a device. The library answers errors by return values only.
class TiffHandle {
 public:
    /// Null where the file is no TIFF.
    static std::unique_ptr<TiffHandle> open(InputDevice& device);
    ~TiffHandle();
    TiffHandle(const TiffHandle&) = delete;
    TiffHandle& operator=(const TiffHandle&) = delete;

    /// The device for the readings that follow.
    void setDevice(InputDevice& device) { _device = &device; }
    /// The first picture; nothing when it cannot be read in pieces.
    std::optional<TiffPicture> first();
    /// The file's other pictures that can be read so, in its order: the directories behind the first and
    /// those below it.
    std::vector<TiffPicture> others();
    /// One piece of a picture, cut to the picture's edge; a null image where it is damaged. A piece that the
    /// file leaves out is black, or clear.
    QImage piece(const TiffPicture& picture, int column, int row);

 private:
    TiffHandle() = default;
    std::optional<TiffPicture> current() const;
    bool select(const TiffPicture& picture);
    QImage storedPiece(const TiffPicture& picture, std::uint32_t index, QSize size);
    QImage convertedPiece(const TiffPicture& picture, int column, int row, QSize size);

    struct Reader;
    ::tiff* _tiff = nullptr;
    InputDevice* _device = nullptr;
    std::int64_t _offset = 0;
    std::uint64_t _selected = 0;
};

}  // namespace decoder
