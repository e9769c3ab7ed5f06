// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "images/ImageBrowserDataSource.h"
#include "places/FileBrowserDataSource.h"
#include "platform/PathBytes.h"
#include "platform/views/Control.h"

#include <QTest>

#include <algorithm>
#include <functional>
#include <memory>

using Names = QList<QByteArray>;

struct FixedSlider : platform::Control {
    float floatValue() const override { return 0.25F; }
};

/// The places and the pictures, wired as in the main window.
struct Window {
    FixedSlider slider;
    platform::OutlineView outline;
    platform::ImageBrowserView view;
    FileBrowserDataSource places;
    std::unique_ptr<ImageBrowserDataSource> images = std::make_unique<ImageBrowserDataSource>();

    Window() {
        outline.setDataSource(&places);
        outline.setDelegate(&places);
        places.setFileBrowserOutlineView(&outline);
        places.setImageBrowserDataSource(images.get());
        images->setImageBrowserView(&view);
        images->setImageBrowserSizeSlider(&slider);
        images->setFileBrowserOutlineView(&outline);
        images->setFileBrowserDataSource(&places);
        view.setDataSource(images.get());
        view.setBrowserDelegate(images.get());
        images->awakeFromNib();
        outline.reloadData();
    }
    ~Window() { places.setImageBrowserDataSource(nullptr); }

    /// The outline's row of the home folder: above the pictures folder, below the volumes.
    int homeRow() const { return outline.numberOfRows() - 2; }
    void load(const QString& path) {
        images->reloadWithPath(path);
        QTRY_VERIFY(!images->isLoading());
    }
    QByteArray nameAt(std::size_t index) const {
        const QByteArray path = platform::bytesFromPath(images->pathAtIndex(index));
        return path.mid(path.lastIndexOf('/') + 1);
    }
    /// The names of the pictures, sorted.
    Names shown() const {
        Names names;
        for (std::size_t i = 0; i < images->numberOfImages(); ++i)
            names += nameAt(i);
        std::sort(names.begin(), names.end());
        return names;
    }
    void select(const std::function<bool(const QByteArray& name)>& wanted) {
        platform::IndexSet indexes;
        for (std::size_t i = 0; i < images->numberOfImages(); ++i)
            if (wanted(nameAt(i)))
                indexes.insert(i);
        view.setSelectionIndexes(indexes, false);
    }
};
