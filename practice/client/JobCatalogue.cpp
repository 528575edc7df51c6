#include "JobCatalogue.h"

#include <iterator>

namespace ferrolt::practice {

namespace {

constexpr const char *jobs[] = {
    "transcode დილა თბილისში.mov → 720p",
    "transcode Sommerabend am Fluß.mov → 1080p",
    "thumbnail Übersicht – Frühjahr.pdf",
    "thumbnail quarterly report.odt",
    "caption Привет, мир.srt",
    "caption Ελληνική ιστορία.srt",
    "waveform café de l’été ☕.flac",
    "poster Σαββατοκύριακο 😀.mp4",
    "index release notes.txt",
};

}  // namespace

JobCatalogue::JobCatalogue() : chance(std::random_device{}()) {}

std::string JobCatalogue::draw() {
    return jobs[std::uniform_int_distribution<std::size_t>(0, std::size(jobs) - 1)(chance)];
}

}  // namespace ferrolt::practice
