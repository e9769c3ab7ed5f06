// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/Decoding.h"

#include "decoder/ContainerChunks.h"
#include "decoder/DeclaredSize.h"
#include "decoder/EmbeddedPreview.h"
#include "decoder/ExifBlock.h"
#include "decoder/Finish.h"
#include "decoder/FormatDetection.h"
#include "decoder/FrameKeeper.h"
#include "decoder/Inflate.h"
#include "decoder/InputDevice.h"
#include "decoder/LoaderMessages.h"
#include "decoder/MendedHead.h"
#include "decoder/packing/PackedProperties.h"
#include "decoder/properties/PropertiesModule.h"
#include "decoder/rare/RareFormats.h"
#include "decoder/RawFile.h"
#include "decoder/regions/JpegRegions.h"
#include "decoder/regions/PngRegions.h"
#include "decoder/regions/RegionKeeper.h"
#include "decoder/regions/TiffRegions.h"
#include "decoder/regions/WholeRegions.h"
#include "decoder/ToolkitLoader.h"

#include <QCoreApplication>
#include <QFile>

#include <dlfcn.h>

#include <limits>
#include <new>

namespace decoder {

namespace {

constexpr qint64 kLargestRareFile = 256 << 20;  // bytes: these formats are read whole
constexpr qsizetype kLargestSvg = 16 << 20;     // bytes, unpacked

// Set once by prepare(), each in its own role only.
const RareFormats* rareFormats = nullptr;
ReadProperties readProperties = nullptr;

/// A function of a module beside the executable; null where that is impossible.
template <typename Function>
Function loadFunction(const char* moduleName, const char* functionName) {
    const QByteArray path = QFile::encodeName(QCoreApplication::applicationDirPath()) + '/' + moduleName;
    void* module = ::dlopen(path.constData(), RTLD_NOW | RTLD_LOCAL);
    return module ? reinterpret_cast<Function>(::dlsym(module, functionName)) : nullptr;
}

bool loadRareFormats() {
    const auto function = loadFunction<RareFunction>(kRareModule, kRareFunction);
    if (!function)
        return false;
    rareFormats = function();
    rareFormats->prepare();
    return true;
}

bool loadProperties() {
    const auto function = loadFunction<PropertiesFunction>(kPropertiesModule, kPropertiesFunction);
    readProperties = function ? function() : nullptr;
    return readProperties != nullptr;
}

Result decodeRare(const InputDevice& device, Format format, int pixelSize) {
    if (!rareFormats)
        return Failure{Status::otherRole, {}};
    if (device.size() > kLargestRareFile)
        return Failure{Status::tooLarge, {}};
    QByteArray content = device.head(static_cast<qsizetype>(device.size()));
    if (format == Format::svg && content.size() > kLargestSvg)
        return Failure{Status::tooLarge, {}};
    if (format == Format::compressedSvg) {
        auto unpacked = inflateWhole(content, kLargestSvg);
        if (!unpacked)
            return Failure{Status::tooLarge, "the packed drawing is damaged or too large"};
        content = std::move(*unpacked);
    }
    takeLoaderMessage();
    RareResult decoded = rareFormats->decode(content, format, pixelSize);
    if (auto* image = std::get_if<RareImage>(&decoded))
        return finish(std::move(image->image), image->fullSize, QImageIOHandler::TransformationNone,
                      pixelSize);
    Failure failure = std::get<Failure>(decoded);
    if (failure.message.isEmpty())
        failure.message = takeLoaderMessage();
    return failure;
}

Result decodeRaw(const InputDevice& device, const RawFile& raw, int pixelSize) {
    const RawFile::Preview* preview = raw.bestFor(pixelSize);
    if (!preview)
        return Failure{Status::damaged, "the raw file holds no preview"};
    InputDevice part(device, static_cast<qint64>(preview->offset), static_cast<qint64>(preview->length));
    LoadOptions options{pixelSize, std::nullopt};
    if (raw.orientation)
        options.transformation = transformationOfOrientation(*raw.orientation);
    Result result = loadWithToolkit(part, Format::jpeg, options);
    if (auto* picture = std::get_if<Picture>(&result)) {
        const bool turned = (picture->fullSize.width() > picture->fullSize.height()) !=
                            (preview->size.width() > preview->size.height());
        picture->fullSize = turned ? raw.fullSize.transposed() : raw.fullSize;
    }
    return result;
}

/// The whole picture of a TIFF with a pyramid, or of a huge one; nothing for others.
std::optional<Result> decodeLargeTiff(InputDevice& device, int pixelSize) {
    const auto regions = TiffRegions::open(device);
    if (!regions || !regions->isForWhole(pixelSize))
        return std::nullopt;
    QImage image = regions->whole(device, pixelSize);
    if (image.isNull())
        return Failure{Status::damaged, {}};
    return finish(std::move(image), regions->size(), regions->transformation(), pixelSize);
}

QImageIOHandler::Transformations pngTransformation(const InputDevice& device) {
    const ContainerChunks chunks = readContainerChunks(device, Format::png);
    return transformationOfOrientation(readExifBlock(chunks.exif).orientation);
}

/// A PNG that the toolkit does not read, or not rightly, where it can be read row by row, or coarsely.
Result decodePng(InputDevice& device, QSize size, int pixelSize) {
    constexpr qint64 kDeepestPixel = 8;  // bytes
    const qint64 count = qint64(size.width()) * size.height();
    const bool isSmall = pixelSize <= kMaximumPixelSize || count <= kMaximumPixelBytes / kDeepestPixel;
    if (count > kMaximumPixels)
        return Failure{Status::tooLarge, {}};
    const auto transformation = pngTransformation(device);
    if (QImage coarse = coarseInterlacedPng(device, pixelSize); !coarse.isNull())
        return finish(std::move(coarse), size, transformation, pixelSize);
    const auto regions = isSmall ? openPngRegions(device, transformation) : nullptr;
    if (!regions)
        return Failure{Status::tooLarge, {}};
    QImage image = regions->whole(device, pixelSize);
    if (image.isNull())
        return Failure{Status::damaged, {}};
    return finish(std::move(image), regions->size(), regions->transformation(), pixelSize);
}

/// Colours of 16 bits a sample, one of which is clear: the toolkit takes three samples for four there.
bool isDeepWithClearColour(Format format, const QByteArray& head, const ContainerChunks& chunks) {
    constexpr qsizetype kDepthAndColourType = 24;
    return format == Format::png && chunks.hasClearColour &&
           head.mid(kDepthAndColourType, 2) == QByteArrayView("\x10\x02");
}

Result decodeThumbnail(InputDevice& device, int pixelSize) {
    const QByteArray head = device.head(kHeadBytes);
    const Format format = detectFormat(head);
    if (format == Format::unknown)
        return Failure{Status::notImage, {}};
    if (isRareFormat(format))
        return decodeRare(device, format, pixelSize);
    if (!toolkitFormat(format) || format == Format::tiff) {
        if (const auto raw = readRawFile(device, format))
            return decodeRaw(device, *raw, pixelSize);
    }
    const QSize declared = declaredSize(format, head);
    if (qint64(declared.width()) * declared.height() > kMaximumPixelBytes / 4)
        return format == Format::png ? decodePng(device, declared, pixelSize) : Failure{Status::tooLarge, {}};
    if (format == Format::tiff) {
        if (auto result = decodeLargeTiff(device, pixelSize))
            return *result;
        device.seek(0);
    }
    LoadOptions options{pixelSize, std::nullopt};
    const ContainerChunks chunks = readContainerChunks(device, format);
    if (chunks.areCut)
        return Failure{Status::damaged, "the file ends within a chunk"};
    if (isDeepWithClearColour(format, head, chunks))
        return decodePng(device, declared, pixelSize);
    QByteArray mended = head;
    mendHead(format, mended);
    if (mended != head)
        device.replaceHead(mended);
    if (!chunks.exif.isEmpty())
        options.transformation = transformationOfOrientation(readExifBlock(chunks.exif).orientation);
    return loadWithToolkit(device, format, options);
}

Result decodeStoredThumbnail(InputDevice& device) {
    const QByteArray head = device.head(kHeadBytes);
    if (detectFormat(head) != Format::png)
        return Failure{Status::notImage, {}};
    if (readContainerChunks(device, Format::png).areCut)
        return Failure{Status::damaged, "the file ends within a chunk"};
    return loadStoredThumbnail(device);
}

/// Up to these a PNG is decoded whole for its regions, which costs one pass at all levels.
constexpr qint64 kWholePngPixels = qint64(32) << 20;

/// How a file is opened for regions: piece by piece where it can be, else whole.
RegionKeeper::Opened openRegions(InputDevice& device) {
    const QByteArray head = device.head(kHeadBytes);
    const Format format = detectFormat(head);
    const QSize declared = declaredSize(format, head);
    const qint64 pixels = qint64(declared.width()) * declared.height();
    std::unique_ptr<RegionSource> source;
    if (format == Format::jpeg)
        source = openJpegRegions(device);
    else if (format == Format::png && pixels > kWholePngPixels && pixels <= kMaximumPixels)
        source = openPngRegions(device, pngTransformation(device));
    else if (format == Format::tiff && !readRawFile(device, format))
        source = TiffRegions::open(device);
    if (source)
        return source;
    device.seek(0);
    Result whole = decodeThumbnail(device, std::numeric_limits<int>::max());
    if (auto* picture = std::get_if<Picture>(&whole))
        return std::make_unique<WholeRegions>(std::move(*picture));
    return std::get<Failure>(std::move(whole));
}

RegionKeeper& keeper() {
    static RegionKeeper keeper(openRegions);
    return keeper;
}

FrameKeeper& frameKeeper() {
    static FrameKeeper keeper;
    return keeper;
}

Result decodeProperties(InputDevice& device) {
    if (!readProperties)
        return Failure{Status::otherRole, {}};
    const auto properties = readProperties(device);
    if (!properties)
        return Failure{Status::notImage, {}};
    return PackedProperties{packProperties(*properties)};
}

Result dispatch(const Request& request, InputDevice& device) {
    switch (request.kind) {
        case RequestKind::thumbnail:
            return decodeThumbnail(device, request.pixelSize);
        case RequestKind::storedThumbnail:
            return decodeStoredThumbnail(device);
        case RequestKind::embeddedPreview:
            return embeddedPreview(device);
        case RequestKind::properties:
            return decodeProperties(device);
        case RequestKind::region:
            return keeper().region(request, device);
        case RequestKind::frame:
            return frameKeeper().frame(request.frame, device);
    }
    return Failure{Status::damaged, "unknown request"};
}

}  // namespace

void forgetKeptPictures() {
    keeper().forget();
    frameKeeper().forget();
}

bool prepare(Role role) {
    if (role == Role::properties)
        return loadProperties();
    loadToolkitFormats();
    return role == Role::common || loadRareFormats();
}

Result decode(const Request& request, int descriptor) {
    try {
        InputDevice device(descriptor);
        return dispatch(request, device);
    } catch (const std::bad_alloc&) {
        return Failure{Status::tooLarge, {}};
    }
}

}  // namespace decoder
