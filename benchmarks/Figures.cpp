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

double summaryOf(const Samples &samples, const Figure &figure) {
    if (figure.summary == Summary::Median)
        return median(samples);
    return quantile(samples, figure.goal == Goal::AtLeast ? 0 : 1);
}

double judgedValue(const Figure &figure) {
    const double ours = summaryOf(figure.ours, figure);
    switch (figure.judged) {
        case Judged::Ratio:
            return ours / summaryOf(figure.peer, figure);
        case Judged::Difference:
            return ours - summaryOf(figure.peer, figure);
        case Judged::Ours:
            break;
    }
    return ours;
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
    const auto isNoNumber = [](double sample) { return !std::isfinite(sample); };
    if (samples.empty() || std::any_of(samples.begin(), samples.end(), isNoNumber))
        return std::nan("");
    std::sort(samples.begin(), samples.end());
    const auto index = static_cast<std::size_t>(std::ceil(share * static_cast<double>(samples.size())));
    return samples[std::clamp<std::size_t>(index, 1, samples.size()) - 1];
}

double median(Samples samples) {
    return quantile(std::move(samples), 0.5);
}

Verdict verdictOf(const Figure &figure) {
    if (figure.goal == Goal::None)
        return Verdict::NotJudged;
    const double value = judgedValue(figure);
    const bool isMet = figure.goal == Goal::AtMost ? value <= figure.bound : value >= figure.bound;
    return isMet && std::isfinite(value) ? Verdict::Met : Verdict::Missed;
}

std::string row(const Figure &figure) {
    const bool hasPeer = !figure.peer.empty();
    const double ours = summaryOf(figure.ours, figure);
    const double peer = hasPeer ? summaryOf(figure.peer, figure) : 0;
    const Samples judged = judgedSamples(figure);
    std::string spread = "-";
    if (judged.size() > 1) {
        const auto [min, max] = std::minmax_element(judged.begin(), judged.end());
        spread = number(*min) + " to " + number(*max);
    }
    const Verdict verdict = verdictOf(figure);
    const char *const met = verdict == Verdict::NotJudged ? "-" : verdict == Verdict::Met ? "met" : "MISSED";
    std::string text = "FIGURE";
    for (const std::string &cell : {figure.what, number(ours) + ' ' + figure.unit,
                                    hasPeer ? figure.peerName + ' ' + number(peer) : std::string("-"),
                                    hasPeer && peer != 0 ? number(ours / peer) : std::string("-"),
                                    goalOf(figure), std::string(met), spread})
        text += '\t' + cell;
    return text;
}

void report(const Figure &figure) {
    std::printf("%s\n", row(figure).c_str());
    std::fflush(stdout);
}

void note(const std::string &text) {
    std::printf("NOTE\t%s\n", text.c_str());
    std::fflush(stdout);
}

}  // namespace ferrolt::bench
