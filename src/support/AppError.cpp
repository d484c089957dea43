#include "AppError.h"

#include <cstring>

using namespace Qt::StringLiterals;

AppError AppError::posix(int errnoValue, const QString& description)
{
    return AppError{u"POSIXError"_s, u"NSPOSIXErrorDomain"_s, errnoValue,
                    description.isEmpty() ? QString::fromLocal8Bit(std::strerror(errnoValue)) : description};
}
