// The errors of an update check, as AppErrors for the log: which step failed and why. The
// description is the text the user is told for the failure's kind.
#pragma once

#include "AppError.h"
#include "UpdateCheckModels.h"

namespace UpdateCheckErrors {

enum Code {
    signatureNotBase64 = 10,
    signatureWrongLength = 11,
    signatureMismatch = 12,
    publicKeyUnusable = 13,
    feedNotXml = 20,
    feedHasDocumentType = 21,
    feedNotAppcast = 22,
    feedNoLinuxItem = 23,
    feedVersionUnparsable = 24,
    feedLinkNotHttps = 25,
    currentVersionUnparsable = 26,
    bodyTooLarge = 30,
    unexpectedHttpStatus = 31,
    insecureLocation = 32,
};

// The catalog key of the text that tells the user about a failure of this kind.
QString textKey(UpdateCheckFailure failure);

// An error of Velmora's own checker.
AppError make(Code code, UpdateCheckFailure failure);

} // namespace UpdateCheckErrors
