// One item of the status display: a small caption over a value ("Zoom Level" over "2.5×").
#pragma once

#include <QWidget>

class QLabel;

namespace gs {

class HUDStatView : public QWidget {
    Q_OBJECT

public:
    HUDStatView(const QString& caption, const QString& placeholder, QWidget* parent = nullptr);
    void setValue(const QString& value);
    QString value() const;
    QString caption() const;

private:
    QLabel* caption_;
    QLabel* value_;
};

}  // namespace gs
