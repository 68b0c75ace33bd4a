// The files of one camera's recorded sequence: a file per frame, one border XML file for the whole
// range and, while the sequence is unfinished, a journal of the border records of the frames saved
// so far, so that --resume can skip them and still write the complete XML file.
#ifndef ZPCAM_SEQUENCE_FILES_H
#define ZPCAM_SEQUENCE_FILES_H

#include <cstdio>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "camera_ref.h"
#include "zpport/BorderXml.h"

namespace zpcam {

// The camera's part of every file name: its name when discovery found it, else its address.
std::string FilePrefix(const CameraRef& ref);
// `value` with at least `digits` digits, zero-padded.
std::string Padded(unsigned int value, int digits);

class SequenceFiles {
public:
    // Files "<dir>/<prefix>_<frame><extension>" and "<dir>/<prefix>_<first>-<last>.xml". With
    // `resume` the records saved by an earlier run are read back; without, a new journal is begun.
    SequenceFiles(const std::string& dir, const CameraRef& ref, unsigned int first, unsigned int last,
                  const std::string& extension, bool resume);

    std::string FramePath(unsigned int frame) const;
    // The frame's file and record exist from an earlier run.
    bool Saved(unsigned int frame) const;
    // Called once the frame's file is complete; from any thread.
    void Record(unsigned int frame, const BORDER_DATA& border);
    // Writes the XML file of the whole range and removes the journal.
    void Finish();

private:
    std::string m_base, m_extension, m_xml, m_journalPath;
    unsigned int m_first, m_last;
    int m_digits;
    bool m_resume;
    mutable std::mutex m_lock;
    std::map<unsigned int, BORDER_DATA> m_records;
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> m_journal{nullptr, std::fclose};
};

}  // namespace zpcam

#endif  // ZPCAM_SEQUENCE_FILES_H
