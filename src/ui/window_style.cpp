#include "ui/window_style.h"

#include <QApplication>
#include <QPalette>
#include <QStyleFactory>

namespace gs::style {

void applyWindowStyle(QApplication& app) {
    app.setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    QPalette p;
    p.setColor(QPalette::Window, kWindow);
    p.setColor(QPalette::Base, kPanel);
    p.setColor(QPalette::AlternateBase, kWindow);
    p.setColor(QPalette::WindowText, kText);
    p.setColor(QPalette::Text, kText);
    p.setColor(QPalette::BrightText, kTextBright);
    p.setColor(QPalette::Button, kPanel);
    p.setColor(QPalette::ButtonText, kText);
    p.setColor(QPalette::Highlight, kAccent);
    p.setColor(QPalette::HighlightedText, kWindow);
    p.setColor(QPalette::ToolTipBase, kPanel);
    p.setColor(QPalette::ToolTipText, kTextBright);
    p.setColor(QPalette::Link, kAccent);
    p.setColor(QPalette::PlaceholderText, kCaption);
    p.setColor(QPalette::Disabled, QPalette::Text, kTextDim);
    p.setColor(QPalette::Disabled, QPalette::WindowText, kTextDim);
    p.setColor(QPalette::Disabled, QPalette::ButtonText, kTextDim);
    app.setPalette(p);
}

}  // namespace gs::style
