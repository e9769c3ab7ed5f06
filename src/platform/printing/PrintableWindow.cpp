// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/printing/PrintableWindow.h"

#include "platform/printing/PrintInfo.h"
#include "platform/printing/PrintOperation.h"
#include "platform/printing/PrintPanels.h"

#include <QBuffer>
#include <QPainter>
#include <QPdfWriter>

#include <cairo-ps.h>
#include <memory>

namespace platform {

namespace {

constexpr qreal epsScale = 3;  // pixels of the document for one of the screen

struct Destroy {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
    void operator()(cairo_t* context) const { cairo_destroy(context); }
};
using Surface = std::unique_ptr<cairo_surface_t, Destroy>;
using Context = std::unique_ptr<cairo_t, Destroy>;

cairo_status_t append(void* data, const unsigned char* bytes, unsigned int length) {
    static_cast<QByteArray*>(data)->append(reinterpret_cast<const char*>(bytes), length);
    return CAIRO_STATUS_SUCCESS;
}

QByteArray epsOf(QImage& pixels, const QSizeF& points) {
    QByteArray result;
    {
        const Surface page(
            cairo_ps_surface_create_for_stream(append, &result, points.width(), points.height()));
        cairo_ps_surface_set_eps(page.get(), 1);
        const Surface source(cairo_image_surface_create_for_data(
            pixels.bits(), CAIRO_FORMAT_RGB24, pixels.width(), pixels.height(), int(pixels.bytesPerLine())));
        const Context context(cairo_create(page.get()));
        cairo_scale(context.get(), points.width() / pixels.width(), points.height() / pixels.height());
        cairo_set_source_surface(context.get(), source.get(), 0, 0);
        cairo_paint(context.get());
        cairo_surface_finish(page.get());
    }
    return result;
}

}  // namespace

QRect PrintableWindow::frame() const {
    return frameGeometry();
}

void PrintableWindow::print(QObject* /*sender*/) {
    PrintInfo& info = PrintInfo::sharedPrintInfo();
    info.paginateToFit();
    auto* panel = new PrintPanel(*this);
    panel->beginSheet(info, [this, &info](PrintPanel&, int returnCode, QWidget&) {
        if (returnCode == PrintPanel::ok)
            PrintOperation(*this, info).run();
    });
}

QByteArray PrintableWindow::dataWithPDFInsideRect(const QRect& part) {
    QByteArray result;
    if (part.isEmpty())
        return result;
    QBuffer buffer(&result);
    buffer.open(QBuffer::WriteOnly);
    QPdfWriter writer(&buffer);
    writer.setResolution(logicalDpiY());
    const QSizeF points = QSizeF(part.size()) * pointsPerInch / logicalDpiY();
    writer.setPageLayout(QPageLayout(QPageSize(points, QPageSize::Point, QString(), QPageSize::ExactMatch),
                                     QPageLayout::Portrait, {}));
    QPainter painter(&writer);
    render(&painter, QPoint(), part);
    painter.end();
    return result;
}

QByteArray PrintableWindow::dataWithEPSInsideRect(const QRect& part) {
    if (part.isEmpty())
        return {};
    QImage pixels(part.size() * epsScale, QImage::Format_RGB32);
    pixels.setDevicePixelRatio(epsScale);
    pixels.fill(Qt::white);
    render(&pixels, QPoint(), part);
    return epsOf(pixels, QSizeF(part.size()) * pointsPerInch / logicalDpiY());
}

}  // namespace platform
