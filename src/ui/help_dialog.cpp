#include "ui/help_dialog.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QVBoxLayout>

namespace gs {

const std::vector<InputMapping>& inputMappings() {
    static const std::vector<InputMapping> table = {
        {QStringLiteral("Draw a zoom box"), QStringLiteral("Pinch"),
         QStringLiteral("Right-drag, or Shift+left-drag"),
         QStringLiteral("+ shows a box; + / - resize it, arrows move it")},
        {QStringLiteral("Zoom into the box"), QStringLiteral("Click inside the box"),
         QStringLiteral("Click inside the box"), QStringLiteral("Enter")},
        {QStringLiteral("Dismiss the box"), QStringLiteral("Click outside the box"),
         QStringLiteral("Click outside the box"), QStringLiteral("Esc")},
        {QStringLiteral("New palette"), QStringLiteral("Double click"),
         QStringLiteral("Double click"), QStringLiteral("Ctrl+Shift+R")},
        {QStringLiteral("Shift the palette"), QStringLiteral("Click-drag up or down"),
         QStringLiteral("Left-drag up or down"), QStringLiteral("Up / Down")},
        {QStringLiteral("Colour frequency (the light when Relief is on)"),
         QStringLiteral("Two-finger scroll"), QStringLiteral("Wheel"),
         QStringLiteral("Page Up / Page Down (Shift: light sideways)")},
        {QStringLiteral("Zoom backward"),
         QStringLiteral("Three- or four-finger swipe right, or a sideways scroll"),
         QStringLiteral("Back button, or wheel tilted left"),
         QStringLiteral("Ctrl+Left or Alt+Left")},
        {QStringLiteral("Zoom forward"),
         QStringLiteral("Three- or four-finger swipe left, or a sideways scroll"),
         QStringLiteral("Forward button, or wheel tilted right"),
         QStringLiteral("Ctrl+Right or Alt+Right")},
        {QStringLiteral("Picture menu (Reset View, Reset All, Copy Link)"), QStringLiteral("—"),
         QStringLiteral("Right click"), QStringLiteral("Menu key or Shift+F10")},
        {QStringLiteral("Reset View"), QStringLiteral("—"), QStringLiteral("—"),
         QStringLiteral("Ctrl+0")},
        {QStringLiteral("Palette browser (Esc closes it)"), QStringLiteral("—"),
         QStringLiteral("Palettes… in the sidebar"), QStringLiteral("Ctrl+P")},
        {QStringLiteral("Distance Estimation / Glow / Orbit Traps / 3D Relief"),
         QStringLiteral("—"), QStringLiteral("—"),
         QStringLiteral("Ctrl+D / Ctrl+G / Ctrl+T / Ctrl+E")},
        {QStringLiteral("Animate colours / Auto explore / Sound (▾ beside it: the input)"),
         QStringLiteral("—"), QStringLiteral("—"),
         QStringLiteral("Ctrl+Y / Ctrl+Shift+A / Ctrl+Shift+M")},
        {QStringLiteral("Tuning slider (ADVANCED): set, help, exact value"),
         QStringLiteral("Click or drag the track; click the name; double click"),
         QStringLiteral("Click or drag the track; click the name; double click"),
         QStringLiteral("Arrows, Page Up / Page Down, Home / End; Enter (Esc closes the help)")},
        {QStringLiteral("Bookmarks (Esc closes them)"), QStringLiteral("—"), QStringLiteral("—"),
         QStringLiteral("Ctrl+B")},
        {QStringLiteral("Open a glimmerscape:// link you have copied"), QStringLiteral("—"),
         QStringLiteral("—"), QStringLiteral("Ctrl+V")},
        {QStringLiteral("Full screen (Esc leaves it)"), QStringLiteral("—"), QStringLiteral("—"),
         QStringLiteral("F11")},
        {QStringLiteral("This help"), QStringLiteral("—"), QStringLiteral("—"),
         QStringLiteral("F1")},
    };
    return table;
}

namespace {

QString mappingHtml() {
    QString html = QStringLiteral(
        "<table cellspacing='0' cellpadding='5'>"
        "<tr><th align='left'>Action</th><th align='left'>Touchpad</th>"
        "<th align='left'>Mouse</th><th align='left'>Keyboard</th></tr>");
    for (const InputMapping& m : inputMappings())
        html += QStringLiteral("<tr><td><b>%1</b></td><td>%2</td><td>%3</td><td>%4</td></tr>")
                    .arg(m.action.toHtmlEscaped(), m.touchpad.toHtmlEscaped(),
                         m.mouse.toHtmlEscaped(), m.keyboard.toHtmlEscaped());
    html += QStringLiteral(
        "</table><p>Every control of the sidebar and the bottom bar takes the keyboard focus "
        "with Tab and is operated with Space or Enter. The picture takes the focus when "
        "clicked.</p>");
    return html;
}

}  // namespace

HelpDialog::HelpDialog(QWidget* parent) : QDialog(parent) {
    setWindowTitle(tr("Mouse, Keyboard and Touchpad"));
    auto* text = new QLabel(mappingHtml(), this);
    text->setTextFormat(Qt::RichText);
    text->setWordWrap(true);
    text->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 18, 20, 14);
    layout->addWidget(text);
    layout->addStretch(1);
    layout->addWidget(buttons);
    setMinimumWidth(760);
}

}  // namespace gs
