// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/RawFile.h"

#include "decoder/ByteReader.h"
#include "decoder/ExifBlock.h"
#include "decoder/InputDevice.h"
#include "decoder/TiffFile.h"

#include <algorithm>
#include <array>
#include <deque>
#include <set>

namespace decoder {

namespace {

constexpr std::size_t kMaximumDirectories = 32;
constexpr std::size_t kMaximumSubDirectories = 16;
constexpr qsizetype kPreviewHeadBytes = 1 << 17;  // a preview's own EXIF block stands before its size

int longerSide(QSize size) {
    return std::max(size.width(), size.height());
}

qint64 area(QSize size) {
    return qint64(size.width()) * size.height();
}

TiffFile::Source sourceOf(const InputDevice& device, std::uint64_t base = 0) {
    return [&device, base](std::uint64_t offset, qsizetype bytes) {
        const auto size = static_cast<std::uint64_t>(device.size());
        const bool isWithin = base <= size && offset <= size - base;
        return isWithin ? device.bytesAt(qint64(base) + qint64(offset), bytes) : QByteArray();
    };
}

/// Adds the JPEG at this place, if it is one that can be shown: the sensor's own data is a lossless JPEG in
/// some formats.
void addPreview(RawFile& raw, const InputDevice& device, std::uint64_t offset, std::uint64_t length) {
    const auto fileSize = static_cast<std::uint64_t>(device.size());
    if (offset >= fileSize || length < 4)
        return;
    length = std::min(length, fileSize - offset);
    const QByteArray bytes =
        device.bytesAt(static_cast<qint64>(offset),
                       static_cast<qsizetype>(std::min<std::uint64_t>(length, kPreviewHeadBytes)));
    if (detectFormat(bytes) != Format::jpeg)
        return;
    const JpegHead head = readJpegHead(bytes);
    if (head.size.isEmpty() || head.isLossless)
        return;
    raw.previews.push_back({offset, length, head.size});
    if (area(head.size) > area(raw.fullSize))
        raw.fullSize = head.size;
}

/// Walks the directories of a raw file that is built like a TIFF.
class DirectoryWalk {
 public:
    DirectoryWalk(const InputDevice& device, const TiffFile& file) : _device(device), _file(file) {}

    RawFile run() {
        add(_file.firstDirectory());
        while (!_waiting.empty()) {
            const std::uint64_t offset = _waiting.front();
            _waiting.pop_front();
            if (const auto directory = _file.directory(offset))
                visit(*directory, offset == _file.firstDirectory());
        }
        return std::move(_raw);
    }
    bool sawSensorData() const { return _sawSensorData; }

 private:
    void add(std::uint64_t offset) {
        if (offset != 0 && _seen.size() < kMaximumDirectories && _seen.insert(offset).second)
            _waiting.push_back(offset);
    }
    void visit(const TiffFile::Directory& directory, bool first) {
        if (first) {
            const auto orientation = _file.number(directory, tiffTag::kOrientation);
            if (orientation && *orientation >= 1 && *orientation <= 8)
                _raw.orientation = static_cast<int>(*orientation);
            _sawSensorData = directory.find(tiffTag::kDngVersion) != nullptr;
        }
        noteSize(directory);
        notePreview(directory);
        noteOlympusPreview(directory);
        if (const auto* entry = directory.find(tiffTag::kSubDirectories)) {
            for (const std::uint64_t offset : _file.numbers(*entry, kMaximumSubDirectories))
                add(offset);
        }
        add(directory.next);
    }
    void noteSize(const TiffFile::Directory& directory) {
        const auto width = _file.number(directory, tiffTag::kImageWidth).value_or(0);
        const auto height = _file.number(directory, tiffTag::kImageLength).value_or(0);
        constexpr std::uint32_t kLargest = 1 << 17;
        if (width >= 1 && height >= 1 && width <= kLargest && height <= kLargest) {
            const QSize size(static_cast<int>(width), static_cast<int>(height));
            if (area(size) > area(_raw.fullSize))
                _raw.fullSize = size;
        }
        constexpr std::array<std::uint32_t, 2> kSensor{32803, 34892};  // CFA, LinearRaw
        constexpr std::array<std::uint32_t, 4> kSensorPackings{32767, 32770, 34713,
                                                               65535};  // ARW, SRW, NEF, PEF
        const auto photometric = _file.number(directory, tiffTag::kPhotometric).value_or(0);
        const auto compression = _file.number(directory, tiffTag::kCompression).value_or(0);
        _sawSensorData = _sawSensorData || std::ranges::find(kSensor, photometric) != kSensor.end() ||
                         std::ranges::find(kSensorPackings, compression) != kSensorPackings.end();
    }
    void notePreview(const TiffFile::Directory& directory) {
        constexpr std::uint16_t kPanasonicPreview = 0x2e;
        const auto offset = _file.number(directory, tiffTag::kJpegOffset);
        const auto length = _file.number(directory, tiffTag::kJpegLength);
        if (offset && length)
            addPreview(_raw, _device, *offset, *length);
        const auto* strips = directory.find(tiffTag::kStripOffsets);
        const auto stripLength = _file.number(directory, tiffTag::kStripByteCounts);
        if (strips && strips->count == 1 && stripLength)
            addPreview(_raw, _device, _file.number(directory, tiffTag::kStripOffsets).value_or(0),
                       *stripLength);
        if (const auto* preview = directory.find(kPanasonicPreview))
            addPreview(_raw, _device, preview->valueOffset, preview->count);
    }
    /// Olympus keeps its preview behind the maker note's camera settings, offsets from the note's start.
    /// Source: Exiv2's tag tables.
    void noteOlympusPreview(const TiffFile::Directory& directory) {
        constexpr std::uint16_t kCameraSettings = 0x2020;
        constexpr std::uint16_t kPreviewStart = 0x101;
        constexpr std::uint16_t kPreviewLength = 0x102;
        const auto exifOffset = _file.number(directory, tiffTag::kExifDirectory);
        const auto exif = exifOffset ? _file.directory(*exifOffset) : std::nullopt;
        const auto* note = exif ? exif->find(tiffTag::kMakerNote) : nullptr;
        if (!note)
            return;
        const QByteArray start = _device.bytesAt(static_cast<qint64>(note->valueOffset), 16);
        const bool olympus = start.startsWith("OLYMPUS");
        if (!olympus && !start.startsWith("OM SYSTEM"))
            return;
        const TiffFile notes(sourceOf(_device, note->valueOffset), _file.order(), olympus ? 12 : 16);
        const auto top = notes.directory(notes.firstDirectory());
        const auto* settingsEntry = top ? top->find(kCameraSettings) : nullptr;
        const auto settings =
            settingsEntry ? notes.directory(notes.number(*top, kCameraSettings).value_or(0)) : std::nullopt;
        if (!settings)
            return;
        const auto offset = notes.number(*settings, kPreviewStart);
        const auto length = notes.number(*settings, kPreviewLength);
        if (offset && length)
            addPreview(_raw, _device, note->valueOffset + *offset, *length);
    }

    const InputDevice& _device;
    const TiffFile& _file;
    RawFile _raw;
    std::deque<std::uint64_t> _waiting;
    std::set<std::uint64_t> _seen;
    bool _sawSensorData = false;
};

/// RAF: the offset and length of a whole JPEG stand in the header.
RawFile readFujiRaw(const InputDevice& device) {
    const QByteArray header = device.bytesAt(84, 8);
    const ByteReader reader(header);
    RawFile raw;
    if (const auto length = reader.u32(4))
        addPreview(raw, device, *reader.u32(0), *length);
    return raw;
}

/// The content of an ISO base media box, as offsets into the file.
struct Box {
    QByteArray type;
    qint64 start = 0;
    qint64 end = 0;
};

std::vector<Box> boxesIn(const InputDevice& device, qint64 start, qint64 end) {
    constexpr std::size_t kMaximumBoxes = 64;
    std::vector<Box> boxes;
    while (start >= 0 && start + 8 <= end && boxes.size() < kMaximumBoxes) {
        const QByteArray header = device.bytesAt(start, 16);
        const ByteReader reader(header);
        const auto shortLength = reader.u32(0);
        if (!shortLength || header.size() < 8)
            break;
        qint64 headerBytes = 8;
        std::uint64_t length = *shortLength;
        if (length == 1) {
            length = reader.u64(8).value_or(0);
            headerBytes = 16;
        }
        const auto room = static_cast<std::uint64_t>(end - start);
        if (length < static_cast<std::uint64_t>(headerBytes) || length > room)
            break;
        boxes.push_back({header.mid(4, 4), start + headerBytes, start + qint64(length)});
        start += qint64(length);
    }
    return boxes;
}

/// CR3: a "PRVW" box in a box of Canon's own at top level holds a JPEG, the "CMT1" box in the film's header
/// the first directory. Source: the description of the format published as canon_cr3.
RawFile readCanonRaw3(const InputDevice& device) {
    constexpr qint64 kUuidBytes = 16;
    constexpr qint64 kPreviewBoxPrefix = kUuidBytes + 8;  // the identifier, then version and count
    constexpr qint64 kPreviewHeader = 16;                 // unknown, sizes and the JPEG's length
    RawFile raw;
    for (const Box& box : boxesIn(device, 0, device.size())) {
        if (box.type == "uuid") {
            for (const Box& inner : boxesIn(device, box.start + kPreviewBoxPrefix, box.end)) {
                if (inner.type == "PRVW")
                    addPreview(raw, device, static_cast<std::uint64_t>(inner.start + kPreviewHeader),
                               static_cast<std::uint64_t>(
                                   std::max<qint64>(0, inner.end - inner.start - kPreviewHeader)));
            }
        }
        if (box.type != "moov")
            continue;
        for (const Box& canon : boxesIn(device, box.start, box.end)) {
            if (canon.type != "uuid")
                continue;
            for (const Box& inner : boxesIn(device, canon.start + kUuidBytes, canon.end)) {
                if (inner.type == "CMT1")
                    raw.orientation =
                        readExifBlock(
                            device.bytesAt(inner.start, std::min<qint64>(inner.end - inner.start, 1 << 16)))
                            .orientation;
            }
        }
    }
    return raw;
}

}  // namespace

const RawFile::Preview* RawFile::bestFor(int pixelSize) const {
    const Preview* best = nullptr;
    for (const Preview& preview : previews) {
        const int side = longerSide(preview.size);
        const int bestSide = best ? longerSide(best->size) : 0;
        if (bestSide < pixelSize ? side > bestSide : side >= pixelSize && side < bestSide)
            best = &preview;
    }
    return best;
}

std::optional<RawFile> readRawFile(const InputDevice& device, Format format) {
    if (format == Format::fujiRaw)
        return readFujiRaw(device);
    if (format == Format::canonRaw3)
        return readCanonRaw3(device);
    const bool surely = format == Format::panasonicRaw || format == Format::olympusRaw;
    const auto file = surely || format == Format::tiff ? TiffFile::open(sourceOf(device)) : std::nullopt;
    if (!file)
        return surely ? std::optional(RawFile()) : std::nullopt;
    DirectoryWalk walk(device, *file);
    RawFile raw = walk.run();
    const bool canonRaw2 = device.bytesAt(8, 2) == "CR";
    if (!surely && !canonRaw2 && !walk.sawSensorData())
        return std::nullopt;
    return raw;
}

}  // namespace decoder
