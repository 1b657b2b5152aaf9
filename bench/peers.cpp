#include "peers.h"

#include <cmath>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "frames.h"
#include "two_threads.h"

namespace bench {
namespace {

constexpr int kChannel = 1;  // red, in A R G B
constexpr float kPercent = 0.02f;

cv::Mat AsMat(refhost::World& world) {
    const PF_EffectWorld& pixels = *world.effectWorld();
    return {pixels.height, pixels.width, CV_8UC4, pixels.data, static_cast<std::size_t>(pixels.rowbytes)};
}

struct Pictures {
    cv::Mat from = AsMat(WorldsOf(kFull, kDepths[0]).input);
    cv::Mat to = AsMat(WorldsOf(kFull, kDepths[0]).output);
};

template <class Work>
void OnRows(Split split, Work work) {
    if (split == Split::byRows) return OnTwoThreads(kFull.height, work);
    work(0, kFull.height);
}

template <class Enlarge>
void Replace(Split split, Enlarge enlarge) {
    cv::setNumThreads(split == Split::byOpenCv ? 2 : 1);
    Pictures pictures;
    static cv::Mat channel(kFull.height, kFull.width, CV_8U), enlarged(kFull.height, kFull.width, CV_8U);
    OnRows(split, [&](int first, int end) {
        cv::Mat part = channel.rowRange(first, end);
        cv::extractChannel(pictures.from.rowRange(first, end), part, kChannel);
    });
    OnRows(split, [&](int first, int end) {
        cv::Mat to = pictures.to.rowRange(first, end);
        cv::Mat part = enlarged.rowRange(first, end);
        pictures.from.rowRange(first, end).copyTo(to);
        enlarge(channel, part, first);
        cv::insertChannel(part, to, kChannel);
    });
}

}  // namespace

void PeerLinear(Split split, double amount) {
    Replace(split, [amount](const cv::Mat& channel, cv::Mat& part, int first) {
        const double k = 1 + kPercent * amount;
        const double top = kFull.height / 2.0 * (1 - 1 / k) + first / k;
        const cv::Rect seen(static_cast<int>(kFull.width / 2.0 * (1 - 1 / k)), static_cast<int>(top),
                            static_cast<int>(kFull.width / k), static_cast<int>(part.rows / k));
        cv::resize(channel(seen), part, part.size(), 0, 0, cv::INTER_NEAREST);
    });
}

void PeerSquare(Split split, double amount) {
    static cv::Mat columns(kFull.height, kFull.width, CV_32F), rows(kFull.height, kFull.width, CV_32F);
    Replace(split, [amount](const cv::Mat& channel, cv::Mat& part, int first) {
        const float cx = kFull.width / 2.0f, cy = kFull.height / 2.0f;
        const float strength = static_cast<float>(amount) * kPercent / std::sqrt(cx * cx + cy * cy);
        for (int y = first; y < first + part.rows; ++y) {
            const float dy = static_cast<float>(y) - cy;
            float* const column = columns.ptr<float>(y);
            float* const row = rows.ptr<float>(y);
            for (int x = 0; x < kFull.width; ++x) {
                const float dx = static_cast<float>(x) - cx;
                const float inv = 1.0f / (1.0f + std::sqrt(dx * dx + dy * dy) * strength);
                column[x] = inv * dx + cx;
                row[x] = inv * dy + cy;
            }
        }
        const int end = first + part.rows;
        cv::remap(channel, part, columns.rowRange(first, end), rows.rowRange(first, end), cv::INTER_NEAREST);
    });
}

}  // namespace bench
