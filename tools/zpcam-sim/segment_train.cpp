#include "segment_train.h"

#include <algorithm>
#include <random>
#include <utility>

namespace zpsim {

namespace {

void AppendBigEndian(std::string& out, std::uint32_t value) {
    out += static_cast<char>(value >> 24);
    out += static_cast<char>(value >> 16);
    out += static_cast<char>(value >> 8);
    out += static_cast<char>(value);
}

struct Segment {
    std::uint32_t sequence;
    std::string datagram;
};

// Cuts the data into numbered data datagrams; the first one is kOversizePayload long when asked.
std::vector<Segment> CutSegments(std::string_view data, std::size_t segmentSize, bool oversize) {
    std::vector<Segment> segments;
    std::size_t offset = 0;
    std::uint32_t sequence = 1;
    do {
        std::size_t length = (oversize && sequence == 1) ? kOversizePayload : segmentSize;
        length = std::min(length, data.size() - offset);
        const bool last = offset + length == data.size();
        segments.push_back(Segment{sequence, DataDatagram(data.substr(offset, length), sequence, last)});
        offset += length;
        ++sequence;
    } while (offset < data.size());
    return segments;
}

// Keeps segments 1..k and clears the last-segment mark.
void Truncate(std::vector<Segment>& segments, std::uint32_t keep) {
    if (segments.size() > keep) {
        segments.resize(keep);
    }
    for (auto& segment : segments) {
        const std::uint32_t word = ControlWord(segment.datagram) & ~kControlLast;
        segment.datagram.resize(segment.datagram.size() - 4);
        AppendBigEndian(segment.datagram, word);
    }
}

std::size_t IndexOf(const std::vector<Segment>& segments, std::uint32_t sequence) {
    auto it = std::find_if(segments.begin(), segments.end(),
                           [sequence](const Segment& s) { return s.sequence == sequence; });
    return static_cast<std::size_t>(it - segments.begin());
}

void Reorder(std::vector<Segment>& segments, const TrainFaults& faults, std::mt19937& random) {
    if (faults.reorderSegment) {
        std::size_t i = IndexOf(segments, *faults.reorderSegment);
        if (i + 1 < segments.size()) {
            std::swap(segments[i], segments[i + 1]);
        }
    }
    if (faults.reorderShare > 0.0) {
        std::bernoulli_distribution swap(std::min(faults.reorderShare, 1.0));
        for (std::size_t i = 0; i + 1 < segments.size(); ++i) {
            if (swap(random)) {
                std::swap(segments[i], segments[i + 1]);
                ++i;  // a segment moves by one place at most
            }
        }
    }
}

void Drop(std::vector<Segment>& segments, const TrainFaults& faults, std::mt19937& random) {
    if (faults.dropSegment) {
        std::size_t i = IndexOf(segments, *faults.dropSegment);
        if (i < segments.size()) {
            segments.erase(segments.begin() + static_cast<std::ptrdiff_t>(i));
        }
    }
    if (faults.dropShare > 0.0) {
        std::bernoulli_distribution lose(std::min(faults.dropShare, 1.0));
        segments.erase(
            std::remove_if(segments.begin(), segments.end(), [&](const Segment&) { return lose(random); }),
            segments.end());
    }
}

}  // namespace

bool TrainFaults::Any() const {
    return dropSegment || dropShare > 0.0 || reorderSegment || reorderShare > 0.0 || duplicateSegment ||
           truncateAfter || oversize || overlong || infoFirst;
}

std::size_t SegmentSizeFor(std::uint8_t netSpeed) {
    switch (netSpeed) {
        case 1:
            return 4000;
        case 2:
            return 8000;
        default:
            return 1400;
    }
}

std::string BorderDatagram(std::string_view border, std::uint32_t receiveHint) {
    std::string datagram;
    datagram.reserve(kBorderSize + 12);
    AppendBigEndian(datagram, receiveHint & 0xFFFF);
    AppendBigEndian(datagram, 0);
    datagram.append(border.substr(0, kBorderSize));
    datagram.resize(8 + kBorderSize, '\0');
    AppendBigEndian(datagram, 0);
    return datagram;
}

std::string DataDatagram(std::string_view payload, std::uint32_t sequence, bool last) {
    std::string datagram;
    datagram.reserve(payload.size() + kSegmentTail);
    datagram.append(payload);
    AppendBigEndian(datagram, 0);
    AppendBigEndian(datagram, (sequence & kSequenceMask) | (last ? kControlLast : 0));
    return datagram;
}

std::string InfoDatagram(std::uint32_t imageLength) {
    std::string datagram;
    AppendBigEndian(datagram, imageLength);
    AppendBigEndian(datagram, 0);
    AppendBigEndian(datagram, kControlInfo);
    return datagram;
}

std::uint32_t ControlWord(std::string_view datagram) {
    if (datagram.size() < 4) {
        return 0;
    }
    std::uint32_t word = 0;
    for (std::size_t i = datagram.size() - 4; i < datagram.size(); ++i) {
        word = (word << 8) | static_cast<std::uint8_t>(datagram[i]);
    }
    return word;
}

std::vector<std::string> BuildSegmentTrain(std::string_view payload, std::string_view border,
                                           std::size_t segmentSize, const TrainFaults& faults,
                                           std::uint32_t seed) {
    segmentSize = std::max<std::size_t>(segmentSize, 1);
    std::string overlong;  // a copy only when the fault extends the payload
    if (faults.overlong) {
        overlong.assign(payload).append(kOverlongSegments * segmentSize, '\xEE');
    }
    std::vector<Segment> segments =
        CutSegments(faults.overlong ? std::string_view(overlong) : payload, segmentSize, faults.oversize);
    if (faults.truncateAfter) {
        Truncate(segments, *faults.truncateAfter);
    }
    if (faults.duplicateSegment) {
        std::size_t i = IndexOf(segments, *faults.duplicateSegment);
        if (i < segments.size()) {
            segments.insert(segments.begin() + static_cast<std::ptrdiff_t>(i), segments[i]);
        }
    }
    std::mt19937 random(seed);
    Reorder(segments, faults, random);
    Drop(segments, faults, random);

    std::vector<std::string> train;
    train.reserve(segments.size() + 2);
    train.push_back(BorderDatagram(border, static_cast<std::uint32_t>(segmentSize + kSegmentTail)));
    for (auto& segment : segments) {
        train.push_back(std::move(segment.datagram));
    }
    if (!faults.truncateAfter) {
        auto info = InfoDatagram(static_cast<std::uint32_t>(payload.size()));
        auto at = faults.infoFirst && train.size() > 1 ? train.end() - 1 : train.end();
        train.insert(at, std::move(info));
    }
    return train;
}

}  // namespace zpsim
