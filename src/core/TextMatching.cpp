#include "core/TextMatching.h"

#include <unicode/normalizer2.h>
#include <unicode/unistr.h>

namespace TextMatching {

QString foldedForMatching(const QString& text) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* folding = icu::Normalizer2::getNFKCCasefoldInstance(status);
    if (U_FAILURE(status) || !folding) {
        return text.toCaseFolded();
    }
    const icu::UnicodeString source(reinterpret_cast<const char16_t*>(text.utf16()),
                                    int32_t(text.size()));
    const icu::UnicodeString folded = folding->normalize(source, status);
    if (U_FAILURE(status)) {
        return text.toCaseFolded();
    }
    return QString(reinterpret_cast<const QChar*>(folded.getBuffer()), folded.length());
}

bool localizedCaseInsensitiveContains(const QString& text, const QString& query) {
    return foldedForMatching(text).contains(foldedForMatching(query));
}

} // namespace TextMatching
