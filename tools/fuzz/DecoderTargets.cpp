// SPDX-License-Identifier: GPL-3.0-or-later
// What the decoder reads of picture files by itself, without a library.
#include "decoder/ContainerChunks.h"
#include "decoder/DeclaredSize.h"
#include "decoder/ExifBlock.h"
#include "decoder/FormatDetection.h"
#include "decoder/Inflate.h"
#include "decoder/InputDevice.h"
#include "decoder/properties/Header.h"
#include "decoder/properties/IccProfile.h"
#include "decoder/RawFile.h"
#include "decoder/stored/StoredThumbnails.h"
#include "decoder/TestPictures.h"
#include "decoder/TiffFile.h"
#include "fuzz/Target.h"
#include "platform/FileAccess.h"

#include <sys/mman.h>
#include <unistd.h>

#include <QFile>

using fuzzing::require;
using namespace testPictures;

namespace {

/// An open file that holds the bytes.
class MemoryFile {
 public:
    explicit MemoryFile(const QByteArray& bytes) : _descriptor(::memfd_create("picture", MFD_CLOEXEC)) {
        require(platform::writeWhole(_descriptor.get(), bytes), "memory can be written");
    }
    int descriptor() const { return _descriptor.get(); }

 private:
    platform::ScopedFileDescriptor _descriptor;
};

QByteArray fileOf(const char* name) {
    QFile file(QStringLiteral(TAVLIN_TEST_DATA "/") + QString::fromLatin1(name));
    require(file.open(QIODevice::ReadOnly), "the test's picture can be read");
    return file.readAll();
}

/// One white pixel; the toolkit writes none.
const QByteArray kGif =
    QByteArray::fromHex("47494638396101000100800000000000ffffff2c00000000010001000002024401003b");

std::vector<QByteArray> chunkSeeds() {
    return {withExifInPng(written(quadrants(), "png"), exifBlock(6)),
            withExifInWebp(written(quadrants(), "webp"), exifBlock(3)),
            kGif,
            written(quadrants(), "bmp"),
            "P6\n64 48\n255\n",
            "<?xml version='1.0'?><svg width='9'/>"};
}

void examineChunks(const QByteArray& bytes) {
    const MemoryFile file(bytes);
    const decoder::InputDevice device(file.descriptor());
    const QByteArray head = device.head(decoder::kHeadBytes);
    const auto format = decoder::detectFormat(head);
    decoder::declaredSize(format, head);
    const auto chunks = decoder::readContainerChunks(device, format);
    require(chunks.exif.size() <= bytes.size(), "no chunk is larger than its file");
    decoder::readExifBlock(chunks.exif);
}

std::vector<QByteArray> jpegSeeds() {
    const QByteArray jpeg = written(quadrants({16, 12}), "jpg");
    return {withExifInJpeg(jpeg, exifBlock(6, jpeg)), exifBlock(8, jpeg)};
}

void examineJpeg(const QByteArray& bytes) {
    const auto head = decoder::readJpegHead(bytes);
    for (const QByteArrayView block : {head.exif, QByteArrayView(bytes)}) {
        const auto exif = decoder::readExifBlock(block);
        require(exif.orientation >= 1 && exif.orientation <= 8, "an orientation is one of eight");
        require(exif.thumbnail.isEmpty() ||
                    (exif.thumbnail.begin() >= block.begin() && exif.thumbnail.end() <= block.end()),
                "a thumbnail lies within its block");
    }
}

std::vector<QByteArray> rawSeeds() {
    const QByteArray jpeg = written(quadrants({16, 12}), "jpg");
    const quint32 size = quint32(jpeg.size());
    constexpr quint32 kPreview = 8 + 2 + 5 * 12 + 4;
    const QByteArray dng = tiffHeader() +
                           tiffDirectory({{0x100, 4, 16},
                                          {0x101, 4, 12},
                                          {0x201, 4, kPreview},
                                          {0x202, 4, size},
                                          {0xc612, 1, 0x00000401, 4}}) +
                           jpeg;
    QByteArray olympus = dng;
    olympus.replace(2, 2, "RO");
    QByteArray panasonic = dng;
    panasonic.replace(2, 2, QByteArray("U\0", 2));
    QByteArray canon =
        big(quint32(24)) + "ftypcrx " + QByteArray(12, '\0') + big(quint32(8 + jpeg.size())) + "mdat" + jpeg;
    const QByteArray fuji = QByteArray("FUJIFILMCCD-RAW 0201FF393101").leftJustified(84, '\0') +
                            big(quint32(100)) + big(size) + QByteArray(8, '\0') + jpeg;
    return {dng, olympus, panasonic, canon, fuji};
}

void examineRaw(const QByteArray& bytes) {
    const MemoryFile file(bytes);
    const decoder::InputDevice device(file.descriptor());
    const auto raw = decoder::readRawFile(device, decoder::detectFormat(device.head(decoder::kHeadBytes)));
    if (!raw)
        return;
    const auto size = static_cast<std::uint64_t>(bytes.size());
    for (const auto& preview : raw->previews)
        require(preview.offset <= size && preview.length <= size - preview.offset,
                "a preview lies within its file");
    require((raw->bestFor(256) == nullptr) == raw->previews.empty(), "the best preview is one of them");
}

std::vector<QByteArray> tiffSeeds() {
    const QByteArray ofWideOffsets = "II" + little(quint16(43)) + little(quint32(8)) + little(quint64(16)) +
                                     little(quint64(1)) + little(quint16(0x100)) + little(quint16(16)) +
                                     little(quint64(1)) + little(quint64(64)) + little(quint64(16));
    return {exifBlock(6, "thumbnail"), tiffHeader() + tiffDirectory({{0x100, 3, 64}, {0x8769, 4, 8}}, 8),
            ofWideOffsets};
}

void examineTiff(const QByteArray& bytes) {
    const auto source = [&bytes](std::uint64_t offset, qsizetype count) {
        const auto size = static_cast<std::uint64_t>(bytes.size());
        return offset >= size ? QByteArray() : bytes.mid(static_cast<qsizetype>(offset), count);
    };
    const auto file = decoder::TiffFile::open(source);
    std::uint64_t at = file ? file->firstDirectory() : 0;
    for (int step = 0; step < 8 && at != 0; ++step) {
        const auto directory = file->directory(at);
        if (!directory)
            return;
        for (const auto& entry : directory->entries)
            require(file->numbers(entry, 16).size() <= 16, "no more numbers come than were asked for");
        file->number(*directory, decoder::tiffTag::kOrientation);
        file->fraction(*directory, decoder::tiffTag::kXResolution);
        require(file->bytes(*directory, decoder::tiffTag::kColorProfile, 16).size() <= 16,
                "no more bytes come than were asked for");
        at = directory->next;
    }
}

std::vector<QByteArray> headerSeeds() {
    return {fileOf("quadrants.avif"),        fileOf("quadrants.heic"),
            fileOf("quadrants.jxl"),         kGif,
            "P3 # a comment\n64\t48\n255\n", QByteArray::fromHex("000001000100")};
}

void examineHeader(const QByteArray& bytes) {
    QByteArray file = bytes;
    QBuffer device(&file);
    device.open(QIODevice::ReadOnly);
    const decoder::Header header = decoder::readHeader(decoder::FileReader(device));
    require(!header.size.isValid() || (header.size.width() >= 1 && header.size.height() >= 1),
            "a size has no empty side");
    const int orientation = header.orientation.value_or(1);
    require(orientation >= 1 && orientation <= 8, "an orientation is one of eight");
}

QByteArray gzipped(const QByteArray& bytes) {
    z_stream stream{};
    constexpr int kGzip = 16;
    require(::deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, MAX_WBITS + kGzip, 8,
                           Z_DEFAULT_STRATEGY) == Z_OK,
            "a packer can be had");
    QByteArray packed(qsizetype(::deflateBound(&stream, uLong(bytes.size()))), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.constData()));
    stream.avail_in = uInt(bytes.size());
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = uInt(packed.size());
    ::deflate(&stream, Z_FINISH);
    packed.truncate(qsizetype(stream.total_out));
    ::deflateEnd(&stream);
    return packed;
}

std::vector<QByteArray> inflateSeeds() {
    return {gzipped("<svg width='9'/>"), gzipped(QByteArray(100'000, ' ')), gzipped("a") + gzipped("b")};
}

void examineInflate(const QByteArray& bytes) {
    constexpr qsizetype kMost = 65'536;
    const QByteArray start = decoder::inflateStart(bytes, kMost);
    require(start.size() <= kMost, "no more comes than was asked for");
    const auto whole = decoder::inflateWhole(bytes, kMost);
    require(!whole || whole->size() <= kMost, "what is too large is nothing");
    require(!whole || whole->startsWith(start), "the start is the whole's");
}

QByteArray profileWith(const QByteArray& description) {
    return QByteArray(128, '\0') + big(quint32(1)) + "desc" + big(quint32(144)) +
           big(quint32(description.size())) + description;
}

std::vector<QByteArray> profileSeeds() {
    return {profileWith("desc" + big(quint32(0)) + big(quint32(5)) + QByteArray("sRGB\0", 5)),
            profileWith("mluc" + big(quint32(0)) + big(quint32(1)) + big(quint32(12)) + "enUS" +
                        big(quint32(8)) + big(quint32(28)) + QByteArray("\0s\0R\0G\0B", 8))};
}

void examineProfile(const QByteArray& bytes) {
    for (const QChar character : decoder::profileName(bytes))
        require(character != u'\n' && character != u'\0', "a profile's name is a single line");
}

std::vector<QByteArray> storedSeeds() {
    QImage image = quadrants({16, 12});
    image.setText(QStringLiteral("Thumb::URI"), QStringLiteral("file:///a"));
    image.setText(QStringLiteral("Comment"), QString(100, QLatin1Char('a')));
    return {written(image, "png"), written(image.convertToFormat(QImage::Format_ARGB32), "png")};
}

void examineStored(const QByteArray& bytes) {
    const MemoryFile file(bytes);
    decoder::Request request;
    request.kind = decoder::RequestKind::storedThumbnail;
    decoder::Response response;
    const auto memory = decoder::StoredThumbnails().answer(request, file.descriptor(), response);
    require(memory.isValid() == (response.status == decoder::Status::picture), "only a picture has memory");
    const auto layout = decoder::checkedLayout(response, decoder::kMaximumPixelSize);
    require(!memory.isValid() || (layout && decoder::isSealedMemory(memory.get(), layout->totalBytes)),
            "a picture's memory is as its figures say");
}

const fuzzing::Target chunks("chunks", chunkSeeds, examineChunks);
const fuzzing::Target jpeg("jpeg", jpegSeeds, examineJpeg);
const fuzzing::Target raw("raw", rawSeeds, examineRaw);
const fuzzing::Target tiff("tiff", tiffSeeds, examineTiff);
const fuzzing::Target header("header", headerSeeds, examineHeader);
const fuzzing::Target inflate("inflate", inflateSeeds, examineInflate);
const fuzzing::Target profile("profile", profileSeeds, examineProfile);
const fuzzing::Target stored("stored", storedSeeds, examineStored);

}  // namespace
