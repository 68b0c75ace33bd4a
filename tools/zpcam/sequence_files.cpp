#include "sequence_files.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <vector>

#include "exit_codes.h"
#include "file_io.h"

namespace zpcam {

namespace {

struct JournalEntry {
    std::uint32_t frame;
    BORDER_DATA border;
};

bool Exists(const std::string& path) {
    return ::access(path.c_str(), F_OK) == 0;
}

}  // namespace

std::string FilePrefix(const CameraRef& ref) {
    std::string prefix =
        ref.discovered && ref.item.cameraName[0] != '\0' ? ref.item.cameraName : ref.item.ipText;
    for (char& c : prefix) {
        if (!std::isalnum(static_cast<unsigned char>(c)) && c != '-' && c != '.' && c != '_') c = '_';
    }
    return prefix;
}

std::string Padded(unsigned int value, int digits) {
    char text[16];
    std::snprintf(text, sizeof text, "%0*u", digits, value);
    return text;
}

SequenceFiles::SequenceFiles(const std::string& dir, const CameraRef& ref, unsigned int first,
                             unsigned int last, const std::string& extension, bool resume)
    : m_base(dir + "/" + FilePrefix(ref) + "_"),
      m_extension(extension),
      m_first(first),
      m_last(last),
      m_digits(std::max<int>(6, static_cast<int>(std::to_string(last).size()))),
      m_resume(resume) {
    m_xml = m_base + Padded(first, m_digits) + "-" + Padded(last, m_digits) + ".xml";
    m_journalPath = m_xml + ".journal";
    if (!resume) return;
    // The finished XML file of the same range holds its frames in order from the first.
    if (Exists(m_xml)) {
        const std::string text = ReadTextFile(m_xml);
        unsigned int frames = 0;
        for (auto at = text.find("</Frame>"); at != std::string::npos; at = text.find("</Frame>", at + 1))
            ++frames;
        for (unsigned int i = 0; i < frames && first + i <= last; ++i) {
            BORDER_DATA border{};
            if (ReadBorderDataFromXml(m_xml.c_str(), static_cast<int>(i), &border, sizeof border) == 0)
                m_records[first + i] = border;
        }
    }
    // Then the journal of an interrupted run, complete entries only.
    if (std::FILE* file = std::fopen(m_journalPath.c_str(), "rb")) {
        JournalEntry entry;
        while (std::fread(&entry, sizeof entry, 1, file) == 1) m_records[entry.frame] = entry.border;
        std::fclose(file);
    }
}

std::string SequenceFiles::FramePath(unsigned int frame) const {
    return m_base + Padded(frame, m_digits) + m_extension;
}

bool SequenceFiles::Saved(unsigned int frame) const {
    const std::lock_guard<std::mutex> hold(m_lock);
    return m_records.count(frame) != 0 && Exists(FramePath(frame));
}

void SequenceFiles::Record(unsigned int frame, const BORDER_DATA& border) {
    const std::lock_guard<std::mutex> hold(m_lock);
    // Opened with the first frame saved; a run without --resume begins a new journal.
    if (!m_journal) m_journal.reset(std::fopen(m_journalPath.c_str(), m_resume ? "ab" : "wb"));
    const JournalEntry entry{frame, border};
    if (!m_journal || std::fwrite(&entry, sizeof entry, 1, m_journal.get()) != 1 ||
        std::fflush(m_journal.get()) != 0)
        throw ToolError(kExitFile, "cannot write " + m_journalPath + ": " + std::strerror(errno));
    m_records[frame] = border;
}

void SequenceFiles::Finish() {
    const std::lock_guard<std::mutex> hold(m_lock);
    std::vector<BORDER_DATA> sequence;
    for (unsigned int frame = m_first; frame <= m_last; ++frame) sequence.push_back(m_records[frame]);
    WriteThroughTemporary(m_xml, [&sequence](const std::string& temporary) {
        return WriteBorderDataToXml(temporary.c_str(), sequence.data(), static_cast<int>(sequence.size())) ==
               0;
    });
    m_journal.reset();
    std::remove(m_journalPath.c_str());
}

}  // namespace zpcam
