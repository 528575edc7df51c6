#pragma once

#include "LogBuffer.h"
#include "LogPosition.h"
#include "PlaceInLog.h"

#include <QList>
#include <QString>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace ferrolt {

/// Finds what LogFinder finds by plain means: joins the log and looks at every character.
class PlainFinder {
  public:
    PlainFinder(const LogBuffer &log, const QString &text) {
        std::vector<char32_t> all;
        for (std::uint64_t i = log.firstSequence(); i < log.endSequence(); ++i) {
            std::uint32_t offset = 0;
            for (const char32_t c : QString::fromUtf8(log.bySequence(i)).toUcs4()) {
                all.push_back(QChar::toCaseFolded(c));
                begins.push_back(at(i, offset));
                offset += c < 0x80 ? 1U : c < 0x800 ? 2U : c < 0x10000 ? 3U : 4U;
                ends.push_back(at(i, offset));
            }
        }
        std::vector<char32_t> needle;
        for (const char32_t c : text.toUcs4())
            needle.push_back(QChar::toCaseFolded(c));
        for (std::size_t i = 0; i + needle.size() <= all.size();) {
            if (std::equal(needle.begin(), needle.end(), all.begin() + static_cast<std::ptrdiff_t>(i))) {
                hits.push_back({begins[i], ends[i + needle.size() - 1]});
                i += needle.size();
            } else {
                ++i;
            }
        }
    }
    std::optional<LogSpan> next(LogPosition from) const {
        for (const LogSpan &hit : hits) {
            if (hit.begin >= from)
                return hit;
        }
        return hits.empty() ? std::nullopt : std::optional(hits.front());
    }
    std::optional<LogSpan> previous(LogPosition from) const {
        for (std::size_t i = hits.size(); i-- > 0;) {
            if (hits[i].begin < from)
                return hits[i];
        }
        return hits.empty() ? std::nullopt : std::optional(hits.back());
    }
    std::vector<LogSpan> between(LogPosition from, LogPosition to) const {
        std::vector<LogSpan> some;
        for (const LogSpan &hit : hits) {
            if (hit.end > from && hit.begin < to)
                some.push_back(hit);
        }
        return some;
    }

    /// Whether the needle ends as it begins, so that two occurrences of it can overlap.
    static bool canOverlap(const QString &needle) {
        for (qsizetype length = 1; length < needle.size(); ++length) {
            if (needle.first(length).compare(needle.last(length), Qt::CaseInsensitive) == 0)
                return true;
        }
        return false;
    }

    std::vector<LogSpan> hits;

  private:
    std::vector<LogPosition> begins;
    std::vector<LogPosition> ends;
};

}  // namespace ferrolt
