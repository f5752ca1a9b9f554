#pragma once

#include <QObject>

// What the slideshow page sees as "comObject": a presence, no methods of its own.
class JsComObject : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;
};
