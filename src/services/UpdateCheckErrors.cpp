#include "UpdateCheckErrors.h"

#include "AppLanguage.h"

using namespace Qt::StringLiterals;

namespace UpdateCheckErrors {

QString textKey(UpdateCheckFailure failure)
{
    return u"linux.update.failed."_s + toRawValue(failure);
}

AppError make(Code code, UpdateCheckFailure failure)
{
    return AppError{.typeName = u"UpdateCheckError"_s,
                    .domain = u"app.velmora.update"_s,
                    .code = code,
                    .description = L10n::text(textKey(failure))};
}

} // namespace UpdateCheckErrors
