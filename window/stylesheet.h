#pragma once

#include <QString>

// The application's dark style sheet, set on the application object at start. Empty, and
// logged, if the resource cannot be read.
QString applicationStyleSheet();
