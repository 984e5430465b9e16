#include "archive/ArchiveFixtures.h"

#include <QProcess>
#include <QProcessEnvironment>

#include <cstdint>

namespace ArchiveFixtures {

int run(const QString& program, const QStringList& arguments, const QString& folder,
        const QStringList& extraEnvironment) {
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const QString& item : extraEnvironment) {
        environment.insert(item.section(QLatin1Char('='), 0, 0), item.section(QLatin1Char('='), 1));
    }
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(folder);
    process.start(program, arguments);
    if (!process.waitForStarted() || !process.waitForFinished(60000)) {
        return -1;
    }
    return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

bool makeLha(const QString& archive, const QString& folder, const QStringList& files) {
    // jlha encodes header names with the Java charset named by lha.encoding.
    return run(QStringLiteral("lha"), QStringList{QStringLiteral("a"), archive} + files, folder,
               {QStringLiteral("JAVA_TOOL_OPTIONS=-Dlha.encoding=MS932")}) == 0;
}

namespace {

// CRC-16/ARC, the checksum of LHA member data.
uint16_t crc16(const QByteArray& data) {
    uint16_t crc = 0;
    for (const char byte : data) {
        crc ^= uint8_t(byte);
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 1) ? uint16_t((crc >> 1) ^ 0xA001) : uint16_t(crc >> 1);
        }
    }
    return crc;
}

void appendLittleEndian(QByteArray& out, uint32_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) {
        out.append(char((value >> (8 * i)) & 0xFF));
    }
}

} // namespace

QByteArray storedLha(const QList<std::pair<QByteArray, QByteArray>>& members) {
    QByteArray archive;
    for (const auto& [name, data] : members) {
        QByteArray header("-lh0-");
        appendLittleEndian(header, uint32_t(data.size()), 4); // packed size
        appendLittleEndian(header, uint32_t(data.size()), 4); // original size
        appendLittleEndian(header, 0x50210000, 4);            // DOS date 2020-01-01, 00:00
        header.append(char(0x20));                            // attribute: archive
        header.append(char(0));                               // header level 0
        header.append(char(name.size()));
        header.append(name);
        appendLittleEndian(header, crc16(data), 2);
        uint8_t sum = 0;
        for (const char byte : header) {
            sum = uint8_t(sum + uint8_t(byte));
        }
        archive.append(char(header.size()));
        archive.append(char(sum));
        archive.append(header);
        archive.append(data);
    }
    archive.append('\0');
    return archive;
}

} // namespace ArchiveFixtures
