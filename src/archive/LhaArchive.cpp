// LHA archives through external tools: lsar (with its retries over Japanese
// encodings) or lha for listing, unar or lha for extraction. LHA names are
// CP932 bytes in practice and the tools misread them in several ways, hence
// the chains of attempts below.
#include "archive/ArchiveService.h"

#include "archive/ArchiveTemporaryFolder.h"
#include "archive/ArchiveToolOutput.h"
#include "core/FileDescriptor.h"
#include "core/PathUtils.h"
#include "core/SystemPath.h"

#include <QFile>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <limits>

namespace ArchiveService {

namespace {

using ArchiveToolOutput::LsarListing;

const QString kCp932 = QStringLiteral("cp932");

ArchiveResult<LsarListing> runLsar(const QString& lsar, const QString& archive,
                                   const QString& encoding, const std::stop_token& stopToken) {
    QStringList arguments = {QStringLiteral("-j"), QStringLiteral("-nr")};
    if (!encoding.isEmpty()) {
        arguments << QStringLiteral("-e") << encoding;
    }
    arguments << QStringLiteral("--") << archive;
    auto output = runTool(lsar, arguments, stopToken);
    if (!output) {
        return fail(output.error());
    }
    auto listing = ArchiveToolOutput::parseLsarJson(*output, encoding);
    if (!listing) {
        return fail(ArchiveError::listFailed(archive, QStringLiteral("Invalid lsar JSON")));
    }
    return std::move(*listing);
}

// Japanese encodings first, each failure swallowed; then lsar's own guess,
// whose failure is the caller's. A Western guess means CP932 names came out
// garbled, so CP932 gets one more chance. A hung or withdrawn run ends it all.
ArchiveResult<LsarListing> lsarListing(const QString& lsar, const QString& archive,
                                       const std::stop_token& stopToken) {
    for (const QString& encoding :
         {kCp932, QStringLiteral("shift_jis"), QStringLiteral("japanese")}) {
        auto listing = runLsar(lsar, archive, encoding, stopToken);
        if ((listing && !listing->entries.isEmpty()) ||
            (!listing && listing.error().endsAllAttempts())) {
            return listing;
        }
    }
    auto guessed = runLsar(lsar, archive, {}, stopToken);
    if (guessed && ArchiveToolOutput::isWesternEncoding(guessed->encoding)) {
        auto again = runLsar(lsar, archive, kCp932, stopToken);
        if (again && !again->entries.isEmpty()) {
            return again;
        }
    }
    return guessed;
}

QString lastComponent(const QString& path) {
    return path.section(QLatin1Char('/'), -1);
}

// The lsar index of a file member: by its whole path, or else by its last
// path component when exactly one file has it.
ArchiveResult<int64_t> lsarIndex(const QString& archive, const QString& member,
                                 const std::stop_token& stopToken) {
    const auto lsar = findTool({QStringLiteral("lsar")});
    if (!lsar) {
        return fail(ArchiveError::toolMissing(QStringLiteral("lsar")));
    }
    auto listing = lsarListing(*lsar, archive, stopToken);
    if (!listing) {
        return fail(listing.error());
    }
    QList<std::pair<QString, int64_t>> files;
    for (const auto& entry : listing->entries) {
        if (!entry.isDirectory && !entry.name.endsWith(QLatin1Char('/')) &&
            !entry.name.endsWith(QLatin1Char('\\'))) {
            files.append({ArchiveToolOutput::normalizedMemberPath(entry.name), entry.index});
        }
    }
    for (const auto& [name, index] : files) {
        if (name == member) {
            return index;
        }
    }
    QList<int64_t> byName;
    for (const auto& [name, index] : files) {
        if (lastComponent(name) == lastComponent(member)) {
            byName.append(index);
        }
    }
    if (byName.size() == 1) {
        return byName.first();
    }
    return fail(
        ArchiveError::listFailed(archive, QStringLiteral("Entry not found in lsar listing")));
}

ArchiveResult<MemberHead> nonEmpty(ArchiveResult<MemberHead> output, const QString& member) {
    if (output && output->bytes.isEmpty()) {
        return fail(ArchiveError::extractFailed(member, QStringLiteral("Empty extract")));
    }
    return output;
}

// The path with every link and "." or ".." resolved; empty when it leads nowhere.
QByteArray resolved(const QByteArray& path) {
    char buffer[PATH_MAX];
    return ::realpath(path.constData(), buffer) ? QByteArray(buffer) : QByteArray();
}

// A fresh folder for one extraction in the private temporary folder, removed
// with its content whichever way the extraction ends.
class ExtractionFolder {
public:
    ExtractionFolder()
        : m_path(ArchiveTemporaryFolder::createWorkFolder(QStringLiteral("Dorvik-lha-"))) {}
    ~ExtractionFolder() {
        if (m_path) {
            ArchiveTemporaryFolder::remove(*m_path);
        }
    }
    ExtractionFolder(const ExtractionFolder&) = delete;
    ExtractionFolder& operator=(const ExtractionFolder&) = delete;

    bool created() const { return m_path.ok(); }
    const QString& path() const { return *m_path; }

    // At most maxBytes of a regular file that really lies inside the folder:
    // a member named "../x" or a link the tool made never leads out of it.
    std::optional<MemberHead> readInside(const QString& candidate, int64_t maxBytes) const {
        const QByteArray root = resolved(toSystemPath(*m_path));
        const QByteArray file = resolved(toSystemPath(candidate));
        if (root.isEmpty() || !file.startsWith(root + '/')) {
            return std::nullopt;
        }
        auto opened = openRegularQFile(fromSystemPath(file));
        if (!opened) {
            return std::nullopt;
        }
        MemberHead head{(*opened)->read(maxBytes), std::nullopt, false};
        head.isCut = !(*opened)->atEnd();
        return head;
    }

private:
    ArchiveTemporaryFolder::FolderResult m_path;
};

ArchiveResult<MemberHead> extractThroughFolder(const QString& unar, const QString& archive,
                                               const QString& member, std::optional<int64_t> index,
                                               int64_t maxBytes, const std::stop_token& stopToken) {
    const auto notFound =
        ArchiveError::extractFailed(member, QStringLiteral("Extracted file not found"));
    ExtractionFolder folder;
    if (!folder.created()) {
        return fail(notFound);
    }
    QStringList arguments = {
        QStringLiteral("-o"), folder.path(),         QStringLiteral("-D"), QStringLiteral("-f"),
        QStringLiteral("-q"), QStringLiteral("-nr"), QStringLiteral("-e"), kCp932};
    if (index) {
        arguments << QStringLiteral("-i") << QStringLiteral("--") << archive
                  << QString::number(*index);
    } else {
        arguments << QStringLiteral("--") << archive << member;
    }
    if (auto run = runTool(unar, arguments, stopToken); !run) {
        return fail(run.error());
    }
    const QString name = lastComponent(member);
    for (const QString& candidate :
         {folder.path() + QLatin1Char('/') + member, folder.path() + QLatin1Char('/') + name}) {
        if (auto bytes = folder.readInside(candidate, maxBytes)) {
            return std::move(*bytes);
        }
    }
    for (const QString& found : ArchiveTemporaryFolder::filesNamed(folder.path(), name)) {
        if (auto bytes = folder.readInside(found, maxBytes)) {
            return std::move(*bytes);
        }
    }
    return fail(notFound);
}

ArchiveResult<MemberHead> extractWithUnar(const QString& unar, const QString& archive,
                                          const QString& member, int64_t maxBytes,
                                          const std::stop_token& stopToken) {
    const auto index = lsarIndex(archive, member, stopToken);
    if (!index && index.error().endsAllAttempts()) {
        return fail(index.error());
    }
    if (index) {
        auto bytes =
            nonEmpty(runToolHead(unar,
                                 {QStringLiteral("-o"), QStringLiteral("-"), QStringLiteral("-q"),
                                  QStringLiteral("-f"), QStringLiteral("-nr"), QStringLiteral("-i"),
                                  QStringLiteral("--"), archive, QString::number(*index)},
                                 maxBytes, stopToken),
                     member);
        if (bytes || bytes.error().endsAllAttempts()) {
            return bytes;
        }
    }
    auto bytes =
        nonEmpty(runToolHead(unar,
                             {QStringLiteral("-o"), QStringLiteral("-"), QStringLiteral("-q"),
                              QStringLiteral("-f"), QStringLiteral("-nr"), QStringLiteral("-D"),
                              QStringLiteral("-e"), kCp932, QStringLiteral("--"), archive, member},
                             maxBytes, stopToken),
                 member);
    if (bytes || bytes.error().endsAllAttempts()) {
        return bytes;
    }
    return extractThroughFolder(unar, archive, member, index ? std::optional(*index) : std::nullopt,
                                maxBytes, stopToken);
}

// maxBytes and room for the banner lha prints before a member: two rules
// and the name, whatever encoding it prints the name in.
int64_t withBannerRoom(int64_t maxBytes, const QString& operand) {
    const int64_t banner = 2 * 9 + 4 * int64_t(operand.size()) + 1;
    return maxBytes > std::numeric_limits<int64_t>::max() - banner ? maxBytes : maxBytes + banner;
}

// lha has no "--": a name that begins with "-" only ever reaches it behind "./".
ArchiveResult<MemberHead> extractWithLha(const QString& lha, const QString& archive,
                                         const QString& member, int64_t maxBytes,
                                         const std::stop_token& stopToken) {
    for (const QString& operand : {member, QStringLiteral("./") + member, lastComponent(member)}) {
        if (operand.startsWith(QLatin1Char('-'))) {
            continue;
        }
        for (const QString& command : {QStringLiteral("pq"), QStringLiteral("p")}) {
            auto bytes = runToolHead(lha, {command, archive, operand},
                                     withBannerRoom(maxBytes, operand), stopToken);
            if (!bytes) {
                if (bytes.error().endsAllAttempts()) {
                    return bytes;
                }
                continue;
            }
            const QByteArray member = ArchiveToolOutput::lhaPrintedMember(bytes->bytes);
            if (!member.isEmpty()) {
                return MemberHead{member.first(std::min<qsizetype>(member.size(), maxBytes)),
                                  std::nullopt, bytes->isCut || member.size() > maxBytes};
            }
        }
    }
    return fail(ArchiveError::extractFailed(member, QStringLiteral("lha produced empty output")));
}

} // namespace

ArchiveResult<QList<ArchiveMember>> listLhaMembers(const QString& archive,
                                                   std::stop_token stopToken) {
    if (const auto lsar = findTool({QStringLiteral("lsar")})) {
        auto listing = lsarListing(*lsar, archive, stopToken);
        if (!listing) {
            return fail(listing.error());
        }
        return ArchiveToolOutput::membersFromLsar(*listing);
    }
    if (const auto lha = findTool({QStringLiteral("lha")})) {
        auto output = runTool(*lha, {QStringLiteral("l"), archive}, stopToken);
        if (!output) {
            return fail(output.error());
        }
        return ArchiveToolOutput::parseLhaList(*output);
    }
    return fail(ArchiveError::toolMissing(QStringLiteral("lsar or lha")));
}

ArchiveResult<MemberHead> extractLhaMember(const QString& archive, const QString& memberPath,
                                           int64_t maxBytes, std::stop_token stopToken) {
    const QString member = ArchiveToolOutput::normalizedMemberPath(memberPath);
    if (member.isEmpty()) {
        return fail(ArchiveError::extractFailed(memberPath, QStringLiteral("Empty path")));
    }
    const auto unar = findTool({QStringLiteral("unar")});
    if (unar) {
        auto bytes = extractWithUnar(*unar, archive, member, maxBytes, stopToken);
        if (bytes || bytes.error().endsAllAttempts()) {
            return bytes;
        }
    }
    const auto lha = findTool({QStringLiteral("lha")});
    if (lha) {
        return extractWithLha(*lha, archive, member, maxBytes, stopToken);
    }
    if (!unar) {
        return fail(ArchiveError::toolMissing(QStringLiteral("unar or lha")));
    }
    return fail(ArchiveError::extractFailed(member, QStringLiteral("Extracted file not found")));
}

} // namespace ArchiveService
