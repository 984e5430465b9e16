#include "search/FolderSearchService.h"

#include "core/NaturalOrder.h"
#include "core/PathUtils.h"
#include "core/SystemPath.h"
#include "text/TextDecoding.h"
#include "text/ShownFileName.h"

#include <QStringDecoder>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

bool isAscii(QByteArrayView bytes) {
    return std::all_of(bytes.begin(), bytes.end(), [](char c) { return uchar(c) < 0x80; });
}

char asciiLower(char c) {
    return c >= 'A' && c <= 'Z' ? char(c + ('a' - 'A')) : c;
}

struct AsciiFoldHash {
    size_t operator()(char c) const { return std::hash<char>()(asciiLower(c)); }
};
struct AsciiFoldEqual {
    bool operator()(char a, char b) const { return asciiLower(a) == asciiLower(b); }
};

bool asciiFoldContains(std::string_view haystack, std::string_view needle) {
    const std::boyer_moore_horspool_searcher searcher(needle.begin(), needle.end(), AsciiFoldHash(),
                                                      AsciiFoldEqual());
    return std::search(haystack.begin(), haystack.end(), searcher) != haystack.end();
}

// Japanese text in a legacy encoding (or UTF-8 whose head ends inside a
// character) as the VIEWER's own detector reads it, taken as a head.
bool detectedTextContains(QByteArrayView head, const QString& needle) {
    const auto decoded = TextDecoding::decode(head, true);
    return decoded && decoded->text.toLower().contains(needle);
}

// Strict UTF-8, else Latin-1, which every byte sequence is; and for a needle
// beyond ASCII, where the bytes are no UTF-8, also the text the encoding
// detector finds. An ASCII needle is left out of that last step: the legacy
// decoders make ASCII of ASCII bytes only, which Latin-1 has already seen.
bool decodedHeadContains(QByteArrayView bytes, const QString& needle, bool asciiNeedle) {
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = utf8.decode(bytes);
    if (!utf8.hasError()) {
        return text.toLower().contains(needle);
    }
    if (QString::fromLatin1(bytes.data(), bytes.size()).toLower().contains(needle)) {
        return true;
    }
    return !asciiNeedle && detectedTextContains(bytes, needle);
}

// Reads up to limit bytes of an open file that must be a regular file: a
// FIFO or a device is never read, so a search can't block on one.
QByteArray readHead(int fd, int64_t limit) {
    struct stat st;
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        return {};
    }
    QByteArray buffer(qsizetype(std::min<int64_t>(limit, std::max<int64_t>(st.st_size, 0))), 0);
    qsizetype filled = 0;
    while (filled < buffer.size()) {
        const ssize_t got = ::read(fd, buffer.data() + filled, size_t(buffer.size() - filled));
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            break;
        }
        filled += got;
    }
    buffer.truncate(filled);
    return buffer;
}

bool headContains(int fd, const QString& needle, const QByteArray& asciiNeedle, int64_t limit) {
    const QByteArray head = readHead(fd, limit);
    if (head.isEmpty()) {
        return false;
    }
    // ASCII bytes stay ASCII through either decoding and through lower-casing,
    // so an ASCII needle found among the bytes is found in the text; and text
    // without any byte above 0x7F can't hold it otherwise.
    if (!asciiNeedle.isEmpty()) {
        if (asciiFoldContains(std::string_view(head.data(), size_t(head.size())),
                              std::string_view(asciiNeedle.data(), size_t(asciiNeedle.size())))) {
            return true;
        }
        if (isAscii(head)) {
            return false;
        }
    }
    return decodedHeadContains(head, needle, !asciiNeedle.isEmpty());
}

bool contentMatchesAt(int dirFd, const char* name, const QString& needle,
                      const QByteArray& asciiNeedle, int64_t limit) {
    if (needle.isEmpty()) {
        return true;
    }
    const int fd = ::openat(dirFd, name, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        return false;
    }
    const bool found = headContains(fd, needle, asciiNeedle, limit);
    ::close(fd);
    return found;
}

QDateTime dateFromStat(const struct stat& st) {
    return QDateTime::fromMSecsSinceEpoch(
        int64_t(st.st_mtim.tv_sec) * 1000 + st.st_mtim.tv_nsec / 1'000'000, Qt::UTC);
}

int64_t msecsFromStat(const struct stat& st) {
    return int64_t(st.st_mtim.tv_sec) * 1000 + st.st_mtim.tv_nsec / 1'000'000;
}

// The depth-first walk below the scope: each folder is given before what it
// holds, links are never followed, and a folder that can't be opened is
// passed over silently.
class Walk {
public:
    Walk(const FolderSearchService::Request& request,
         const FolderSearchService::IsCancelled& isCancelled,
         const FolderSearchService::Progress& progress)
        : m_request(request)
        , m_isCancelled(isCancelled)
        , m_progress(progress) {
        if (isAscii(QByteArrayView(request.needle.toUtf8()))) {
            m_asciiNeedle = request.needle.toLatin1();
        }
        m_lowMs = request.notBefore ? request.notBefore->toMSecsSinceEpoch() : INT64_MIN;
        m_highMs = request.before ? request.before->toMSecsSinceEpoch() : INT64_MAX;
        m_hasPeriod = request.notBefore || request.before;
    }

    FolderSearchService::Outcome run();

private:
    struct Frame {
        DIR* dir;
        size_t pathLength;
    };
    // False when the walk must end.
    bool visit(Frame& frame, const struct dirent* item, std::vector<Frame>& stack);
    bool nameMatches(const char* name) const;
    void addHit(const struct stat& st, bool isDirectory, size_t pathLength);

    const FolderSearchService::Request& m_request;
    const FolderSearchService::IsCancelled& m_isCancelled;
    const FolderSearchService::Progress& m_progress;
    QByteArray m_asciiNeedle;
    int64_t m_lowMs = 0;
    int64_t m_highMs = 0;
    bool m_hasPeriod = false;
    std::string m_path;
    size_t m_scopeLength = 0;
    FolderSearchService::Outcome m_outcome;
};

FolderSearchService::Outcome Walk::run() {
    const QByteArray scope = toSystemPath(m_request.scope);
    m_path = scope == "/" ? std::string() : scope.toStdString();
    m_scopeLength = m_path.size();
    const int rootFd = ::open(scope.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    DIR* root = rootFd < 0 ? nullptr : ::fdopendir(rootFd);
    if (!root) {
        if (rootFd >= 0) {
            ::close(rootFd);
        }
        return m_outcome;
    }
    std::vector<Frame> stack{{root, m_path.size()}};
    while (!stack.empty()) {
        Frame& frame = stack.back();
        const struct dirent* item = ::readdir(frame.dir);
        if (!item) {
            ::closedir(frame.dir);
            stack.pop_back();
            continue;
        }
        const char* name = item->d_name;
        if (name[0] == '.' && (name[1] == 0 || (name[1] == '.' && name[2] == 0))) {
            continue;
        }
        if (!visit(frame, item, stack)) {
            break;
        }
    }
    for (Frame& frame : stack) {
        ::closedir(frame.dir);
    }
    return m_outcome;
}

bool Walk::visit(Frame& frame, const struct dirent* item, std::vector<Frame>& stack) {
    const char* name = item->d_name;
    // Hidden items are not given at all without showHidden, nor what they hold.
    if (!m_request.showHidden && name[0] == '.') {
        return true;
    }
    if (m_isCancelled && m_isCancelled()) {
        return false;
    }
    if (++m_outcome.visited % 64 == 0 && m_progress) {
        m_progress(m_outcome.visited);
    }
    const int dirFd = ::dirfd(frame.dir);
    m_path.resize(frame.pathLength);
    m_path += '/';
    m_path += name;
    const size_t pathLength = m_path.size();

    struct stat st;
    bool haveStat = false;
    auto readStat = [&] {
        haveStat = haveStat || ::fstatat(dirFd, name, &st, AT_SYMLINK_NOFOLLOW) == 0;
        return haveStat;
    };
    bool isDirectory = item->d_type == DT_DIR;
    if (item->d_type == DT_UNKNOWN) {
        isDirectory = readStat() && S_ISDIR(st.st_mode);
    }
    bool isHit = !m_hasPeriod ||
                 (readStat() && msecsFromStat(st) >= m_lowMs && msecsFromStat(st) < m_highMs);
    if (isHit && !nameMatches(name)) {
        isHit = m_request.matchMode == FolderSearchMatchMode::includeContent && !isDirectory &&
                contentMatchesAt(dirFd, name, m_request.needle, m_asciiNeedle,
                                 m_request.maxContentBytes);
    }
    if (isHit && readStat()) {
        addHit(st, isDirectory, pathLength);
        if (m_outcome.hits.size() >= m_request.maxResults) {
            return false;
        }
    }
    if (isDirectory) {
        const int childFd = ::openat(dirFd, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        DIR* child = childFd < 0 ? nullptr : ::fdopendir(childFd);
        if (child) {
            stack.push_back({child, pathLength});
        } else if (childFd >= 0) {
            ::close(childFd);
        }
    }
    return true;
}

// The lower-cased name holds the needle as it stands; ASCII names are
// compared byte by byte without making text of them.
bool Walk::nameMatches(const char* name) const {
    if (m_request.needle.isEmpty()) {
        return true;
    }
    const std::string_view bytes(name);
    if (isAscii(QByteArrayView(bytes.data(), qsizetype(bytes.size())))) {
        return !m_asciiNeedle.isEmpty() &&
               asciiFoldContains(bytes, std::string_view(m_asciiNeedle.constData(),
                                                         size_t(m_asciiNeedle.size())));
    }
    // A name that is not UTF-8 is found by the form the panes show it in.
    return ShownFileName::shownName(fromSystemPath(name)).toLower().contains(m_request.needle);
}

void Walk::addHit(const struct stat& st, bool isDirectory, size_t pathLength) {
    FolderSearchHit hit;
    hit.id = fromSystemPath(QByteArray(m_path.data(), qsizetype(pathLength)));
    hit.url = PathUtils::standardizedPath(hit.id);
    hit.name = PathUtils::lastPathComponent(hit.url);
    hit.relativePath = fromSystemPath(
        QByteArray(m_path.data() + m_scopeLength + 1, qsizetype(pathLength - m_scopeLength - 1)));
    if (hit.relativePath.isEmpty()) {
        hit.relativePath = hit.name;
    }
    hit.isDirectory = isDirectory;
    if (!isDirectory) {
        hit.size = int64_t(st.st_size);
    }
    hit.modificationDate = dateFromStat(st);
    m_outcome.hits.append(hit);
}

bool hitPrecedes(const FolderSearchHit& a, const FolderSearchHit& b, FolderSearchSort sort) {
    if (a.isDirectory != b.isDirectory) {
        return a.isDirectory;
    }
    if (sort == FolderSearchSort::size) {
        const int64_t sizeA = a.size.value_or(a.isDirectory ? -1 : 0);
        const int64_t sizeB = b.size.value_or(b.isDirectory ? -1 : 0);
        if (sizeA != sizeB) {
            return sizeA > sizeB;
        }
    } else if (sort == FolderSearchSort::date) {
        const int64_t dateA =
            a.modificationDate ? a.modificationDate->toMSecsSinceEpoch() : INT64_MIN;
        const int64_t dateB =
            b.modificationDate ? b.modificationDate->toMSecsSinceEpoch() : INT64_MIN;
        if (dateA != dateB) {
            return dateA > dateB;
        }
    }
    return NaturalOrder::compare(a.relativePath, b.relativePath) < 0;
}

} // namespace

FolderSearchService::FolderSearchService(QObject* parent)
    : FolderSearchService(Background::workerThreads(), parent) {}

FolderSearchService::FolderSearchService(Background::Executor& executor, QObject* parent)
    : QObject(parent)
    , m_executor(executor) {}

FolderSearchService::~FolderSearchService() {
    stopTask();
}

std::optional<FolderSearchService::YearMonth>
FolderSearchService::parseYearMonth(const QString& text) {
    QString trimmed = text.trimmed();
    if (trimmed.isEmpty()) {
        return std::nullopt;
    }
    trimmed.replace(QLatin1Char('/'), QLatin1Char('-'));
    const QStringList parts = trimmed.split(QLatin1Char('-'));
    if (parts.size() != 2 || parts[0].isEmpty() || parts[1].isEmpty()) {
        return std::nullopt;
    }
    bool yearOk = false;
    bool monthOk = false;
    const int year = parts[0].toInt(&yearOk, 10);
    const int month = parts[1].toInt(&monthOk, 10);
    if (!yearOk || !monthOk || year < 1970 || year > 2099 || month < 1 || month > 12) {
        return std::nullopt;
    }
    return YearMonth{year, month};
}

std::optional<QDateTime> FolderSearchService::periodStart(const YearMonth& month) {
    const QDateTime start(QDate(month.year, month.month, 1), QTime(0, 0), Qt::LocalTime);
    return start.isValid() ? std::optional(start) : std::nullopt;
}

// December rolls over into January of the next year.
std::optional<QDateTime> FolderSearchService::periodEnd(const YearMonth& month) {
    const bool december = month.month == 12;
    return periodStart({december ? month.year + 1 : month.year, december ? 1 : month.month + 1});
}

FolderSearchService::Outcome FolderSearchService::scan(const Request& request,
                                                       const IsCancelled& isCancelled,
                                                       const Progress& progress) {
    Outcome outcome = Walk(request, isCancelled, progress).run();
    if (progress) {
        progress(outcome.visited);
    }
    sortHits(outcome.hits, request.sort);
    return outcome;
}

bool FolderSearchService::contentContains(const QString& path, const QString& needle,
                                          int64_t maxBytes) {
    const QByteArray asciiNeedle =
        isAscii(QByteArrayView(needle.toUtf8())) ? needle.toLatin1() : QByteArray();
    return contentMatchesAt(AT_FDCWD, toSystemPath(path).constData(), needle, asciiNeedle,
                            maxBytes);
}

void FolderSearchService::sortHits(QList<FolderSearchHit>& hits, FolderSearchSort sort) {
    std::stable_sort(hits.begin(), hits.end(),
                     [sort](const auto& a, const auto& b) { return hitPrecedes(a, b, sort); });
}

void FolderSearchService::start(const QString& query, const QString& scope,
                                FolderSearchMatchMode matchMode, const QString& fromYM,
                                const QString& toYM, FolderSearchSort sort, bool showHidden) {
    stopTask();
    std::optional<Request> made =
        makeRequest(query, scope, matchMode, fromYM, toYM, sort, showHidden);
    if (!made) {
        m_results.clear();
        m_isSearching = false;
        m_lastError.reset();
        m_scannedCount = 0;
        emit changed();
        return;
    }
    // The old results stay until the new list comes, so that the list
    // doesn't flash empty while the user types.
    m_isSearching = true;
    m_lastError.reset();
    m_scannedCount = 0;
    Request request = *made;
    request.maxResults = maxResults;
    request.maxContentBytes = maxContentBytes;

    const Background::Ticket ticket = m_scans.take();
    Background::runWithProgress<int>(
        m_executor, Background::Pool::shared, this, ticket,
        [request, ticket](const Background::Progress<int>& progress) {
            return scan(
                request, [&ticket] { return !ticket.isCurrent(); },
                [&progress](int visited) { progress.report(visited); });
        },
        [this](int visited) {
            m_scannedCount = visited;
            emit changed();
        },
        [this](const Outcome& outcome) { deliver(outcome); });
    emit changed();
}

std::optional<FolderSearchService::Request>
FolderSearchService::makeRequest(const QString& query, const QString& scope,
                                 FolderSearchMatchMode matchMode, const QString& fromYM,
                                 const QString& toYM, FolderSearchSort sort, bool showHidden) {
    const QString trimmed = query.trimmed();
    const auto from = parseYearMonth(fromYM);
    const auto to = parseYearMonth(toYM);
    if (trimmed.isEmpty() && !from && !to) {
        return std::nullopt;
    }
    Request request;
    request.scope = PathUtils::standardizedPath(scope);
    request.needle = trimmed.toLower();
    request.matchMode = matchMode;
    request.notBefore = from ? periodStart(*from) : std::nullopt;
    request.before = to ? periodEnd(*to) : std::nullopt;
    request.sort = sort;
    request.showHidden = showHidden;
    return request;
}

void FolderSearchService::cancel() {
    stopTask();
    m_results.clear();
    m_scannedCount = 0;
    m_lastError.reset();
    m_isSearching = false;
    emit changed();
}

// The worker stops at its next item, and nothing of it reaches this object
// any more.
void FolderSearchService::stopTask() {
    m_scans.dropAll();
}

void FolderSearchService::deliver(const Outcome& outcome) {
    m_results = outcome.hits;
    m_scannedCount = outcome.visited;
    m_isSearching = false;
    emit changed();
    emit finished();
}
