// SPDX-License-Identifier: GPL-3.0-or-later
#define QT_STATICPLUGIN  // before any header of the toolkit
#include <QImage>
#include <QImageIOPlugin>
#include <QImageReader>
#include <QScopedValueRollback>
#include <QVariant>

#include <optional>

namespace platform {

namespace {

/// Hands everything to the toolkit's own reader of PNG.
class PngHandler : public QImageIOHandler {
 public:
    static bool isPng(QIODevice& device) { return device.peek(signature.size()) == signature; }

    bool canRead() const override { return isPng(*device()); }
    bool read(QImage* image) override { return reader().read(image); }
    bool supportsOption(ImageOption option) const override { return option == Size; }
    QVariant option(ImageOption option) const override {
        return option == Size ? reader().size() : QVariant();
    }

    /// While the toolkit's own reader is looked for, this one is not to be found.
    static bool isHidden() { return _isHidden; }

 private:
    static constexpr QByteArrayView signature = "\x89PNG\r\n\x1a\n";

    QImageReader& reader() const {
        if (!_reader) {
            const QScopedValueRollback<bool> hidden(_isHidden, true);
            _reader.emplace(device(), "png");
            _reader->setAutoDetectImageFormat(false);
            _reader->canRead();  // looks for it
        }
        return *_reader;
    }

    static inline thread_local bool _isHidden = false;
    mutable std::optional<QImageReader> _reader;
};

}  // namespace

/// Reads the PNG files that icons are. Where an image file is to be read and nobody says of which format it
/// is, the toolkit loads the plugins of all formats to ask each of them: ten libraries and what they
/// need, a tenth of the program's start, and decoders that the program is to be without. But first it asks
/// the plugin that claims the extension of the file's name, which is this one. Any thread.
class PngReading : public QImageIOPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QImageIOHandlerFactoryInterface_iid FILE "PngReading.json")

 public:
    Capabilities capabilities(QIODevice* device, const QByteArray& format) const override {
        return device && !PngHandler::isHidden() && format == "png" && PngHandler::isPng(*device)
                   ? CanRead
                   : Capabilities();
    }
    QImageIOHandler* create(QIODevice* device, const QByteArray& format) const override {
        auto* handler = new PngHandler;
        handler->setDevice(device);
        handler->setFormat(format);
        return handler;
    }
};

}  // namespace platform

#include "PngReading.moc"
