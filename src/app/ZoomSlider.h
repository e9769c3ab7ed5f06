// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/views/Control.h"

#include <QSlider>

#include <algorithm>
#include <cmath>

/// The slider under the grid: 0 to 1, in a thousand steps.
class ZoomSlider : public QSlider, public platform::Control {
    Q_OBJECT

 public:
    explicit ZoomSlider(QWidget* parent = nullptr) : QSlider(Qt::Horizontal, parent) {
        setRange(0, steps);
        setPageStep(steps / 10);
        setSingleStep(steps / 50);
    }

    float floatValue() const override { return static_cast<float>(value()) / steps; }
    void setFloatValue(float value) {
        setValue(static_cast<int>(std::lround(std::clamp(value, 0.0F, 1.0F) * steps)));
    }

 private:
    static constexpr int steps = 1000;
};
