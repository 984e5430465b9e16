#pragma once

#include "core/Background.h"
#include "core/Model.h"

#include <QDateTime>
#include <QList>
#include <QObject>
#include <QString>

#include <cstdint>
#include <functional>
#include <optional>

// One file or folder found below the searched folder.
struct FolderSearchHit {
    QString id; // the path as the walk met it
    QString url;
    QString name;
    QString relativePath;
    bool isDirectory = false;
    std::optional<int64_t> size; // none for a folder
    std::optional<QDateTime> modificationDate;
    bool operator==(const FolderSearchHit&) const = default;
};

// Finds files and folders below one folder by a part of the name, optionally
// by content, and by a period of modification months. The walk runs on the
// executor's shared pool; what the screen reads is written on the main thread
// only, and each start replaces the scan before it.
class FolderSearchService : public QObject {
    Q_OBJECT

public:
    struct YearMonth {
        int year = 0;
        int month = 0;
        bool operator==(const YearMonth&) const = default;
    };

    // Everything one walk needs, with the query already lower-cased and the
    // months already turned into instants.
    struct Request {
        QString scope;
        QString needle;
        FolderSearchMatchMode matchMode = FolderSearchMatchMode::nameOnly;
        std::optional<QDateTime> notBefore;
        std::optional<QDateTime> before;
        FolderSearchSort sort = FolderSearchSort::name;
        bool showHidden = false;
        int maxResults = 500;
        int64_t maxContentBytes = 524288;
    };
    struct Outcome {
        QList<FolderSearchHit> hits;
        int visited = 0;
    };
    using Progress = std::function<void(int visited)>;
    using IsCancelled = std::function<bool()>;

    explicit FolderSearchService(QObject* parent = nullptr);
    explicit FolderSearchService(Background::Executor& executor, QObject* parent = nullptr);
    ~FolderSearchService() override;

    // Cancels what runs and starts a new scan; with an empty query and no
    // usable month it only clears.
    void start(const QString& query, const QString& scope, FolderSearchMatchMode matchMode,
               const QString& fromYM, const QString& toYM, FolderSearchSort sort, bool showHidden);
    // Stops the running scan and forgets results, count and error.
    void cancel();

    const QList<FolderSearchHit>& results() const { return m_results; }
    bool isSearching() const { return m_isSearching; }
    const std::optional<QString>& lastError() const { return m_lastError; }
    int scannedCount() const { return m_scannedCount; }

    int maxResults = 500;
    int64_t maxContentBytes = 524288;

    // "2024-03", "2024/3" and "2024-3" are one month; years 1970 to 2099.
    static std::optional<YearMonth> parseYearMonth(const QString& text);
    // Local midnight of the 1st of the month, and of the month after.
    static std::optional<QDateTime> periodStart(const YearMonth& month);
    static std::optional<QDateTime> periodEnd(const YearMonth& month);

    // The walk that start() runs for these form values; none when the query
    // is blank and neither month parses, which only clears.
    static std::optional<Request> makeRequest(const QString& query, const QString& scope,
                                              FolderSearchMatchMode matchMode,
                                              const QString& fromYM, const QString& toYM,
                                              FolderSearchSort sort, bool showHidden);
    // The whole walk on the calling thread. isCancelled, when given, is asked
    // once per item; progress hears the count of visited items every 64 items.
    static Outcome scan(const Request& request, const IsCancelled& isCancelled,
                        const Progress& progress);
    // Whether the head of the file holds the lower-cased needle.
    static bool contentContains(const QString& path, const QString& needle, int64_t maxBytes);
    // Folders first, then by the sort; ties by the relative path in natural order.
    static void sortHits(QList<FolderSearchHit>& hits, FolderSearchSort sort);

signals:
    // Any property above changed.
    void changed();
    // A scan delivered its list.
    void finished();

private:
    void stopTask();
    void deliver(const Outcome& outcome);

    QList<FolderSearchHit> m_results;
    bool m_isSearching = false;
    std::optional<QString> m_lastError;
    int m_scannedCount = 0;
    Background::Executor& m_executor;
    // The running scan holds the newest ticket; the worker stops once its
    // ticket is stale, and a stale count or list never arrives.
    Background::TicketCounter m_scans;
};
