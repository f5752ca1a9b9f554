#pragma once

#include <QDoubleValidator>

// The validator of the GPS panel's number fields. It takes both the decimal comma and the
// decimal point, rewrites the text in the form the default locale reads, and refuses a
// number outside its range while it is typed instead of letting it stand as intermediate.
class CaldDoubleValidator : public QDoubleValidator
{
    Q_OBJECT

public:
    CaldDoubleValidator(int decimals, QObject *parent, double bottom, double top);

    State validate(QString &input, int &pos) const override;

private:
    State check(QString &input, int &pos) const;
};
