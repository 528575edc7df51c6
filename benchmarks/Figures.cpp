#include "Figures.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace ferrolt::bench {

namespace {

std::string number(double value) {
    char text[64];
    const double size = std::abs(value);
    std::snprintf(text, sizeof text,
                  size >= 1000  ? "%.0f"
                  : size >= 10  ? "%.1f"
                  : size >= 0.1 ? "%.2f"
                                : "%.3f",
                  value);
    return value == 0 ? "0" : text;
}

Samples judgedSamples(const Figure &figure) {
    if (figure.judged == Judged::Ours)
        return figure.ours;
    Samples samples;
    for (std::size_t i = 0; i < std::min(figure.ours.size(), figure.peer.size()); ++i)
        samples.push_back(figure.judged == Judged::Ratio ? figure.ours[i] / figure.peer[i]
                                                         : figure.ours[i] - figure.peer[i]);
    return samples;
}

double judgedValue(const Figure &figure) {
    switch (figure.judged) {
        case Judged::Ratio:
            return median(figure.ours) / median(figure.peer);
        case Judged::Difference:
            return median(figure.ours) - median(figure.peer);
        case Judged::Ours:
            break;
    }
    return median(figure.ours);
}

bool isMet(const Figure &figure) {
    const double value = judgedValue(figure);
    if (!std::isfinite(value))  // there is nothing to compare with, and nothing is shown
        return false;
    return figure.goal == Goal::AtMost ? value <= figure.bound : value >= figure.bound;
}

std::string goalOf(const Figure &figure) {
    if (figure.goal == Goal::None)
        return "-";
    const std::string sign = figure.goal == Goal::AtMost ? "<= " : ">= ";
    switch (figure.judged) {
        case Judged::Ratio:
            return sign + number(figure.bound) + " of it";
        case Judged::Difference:
            return sign + "+" + number(figure.bound) + " " + figure.unit;
        case Judged::Ours:
            break;
    }
    return sign + number(figure.bound) + " " + figure.unit;
}

}  // namespace

double quantile(Samples samples, double share) {
    if (samples.empty())
        return std::nan("");
    std::sort(samples.begin(), samples.end());
    const auto index = static_cast<std::size_t>(std::ceil(share * static_cast<double>(samples.size())));
    return samples[std::clamp<std::size_t>(index, 1, samples.size()) - 1];
}

double median(Samples samples) {
    return quantile(std::move(samples), 0.5);
}

void report(const Figure &figure) {
    const bool hasPeer = !figure.peer.empty();
    const Samples judged = judgedSamples(figure);
    const std::string ratio = hasPeer && median(figure.peer) != 0
                                  ? number(median(figure.ours) / median(figure.peer))
                                  : std::string("-");
    std::string spread = "-";
    if (judged.size() > 1) {
        const auto [least, most] = std::minmax_element(judged.begin(), judged.end());
        spread = number(*least) + " to " + number(*most);
    }
    const char *const verdict = figure.goal == Goal::None ? "-" : isMet(figure) ? "met" : "MISSED";
    std::printf("FIGURE\t%s\t%s %s\t%s\t%s\t%s\t%s\t%s\n", figure.what.c_str(),
                number(median(figure.ours)).c_str(), figure.unit.c_str(),
                hasPeer ? (figure.peerName + " " + number(median(figure.peer))).c_str() : "-", ratio.c_str(),
                goalOf(figure).c_str(), verdict, spread.c_str());
    std::fflush(stdout);
}

void note(const std::string &text) {
    std::printf("NOTE\t%s\n", text.c_str());
    std::fflush(stdout);
}

}  // namespace ferrolt::bench
