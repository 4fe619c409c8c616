#include "look/cues.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <opencv2/imgproc.hpp>
#include <vector>

namespace pivotel::look {

namespace {

// Below this many letter-sized marks, the picture holds no text worth reading.
constexpr int fewestmarks = 40;
// A letter's size in pixels at the looked-at size; smaller ones are noise, larger ones shapes.
constexpr int smallestmark = 3;
constexpr int largestmark = 60;
// Lines of text that must agree, and by how much, before the cue counts.
constexpr int fewestlines = 3;
constexpr int majority = 3;
// How much more ink one side of a line must hold than the other to vote.
constexpr double sidemargin = 1.5;
// How far the ground on the two sides of a line may differ, in grey levels: a row of specks
// along a straight edge between light and dark (a wall, a plate) is not a line of text.
constexpr double groundgap = 20;

struct Marks {
    cv::Mat mask; // the letter-sized marks only, 255 on 0
    int size = 0; // a typical letter's larger side
    std::vector<cv::Point2f> centres;
};

// The connected marks of a mask, with their boxes, areas and centres. Grana's block-based
// labelling: with the boxes asked for, OpenCV's default took 19 ms on a receipt's 3-megapixel
// mask on one thread, this 6 ms, with the same marks.
int components(const cv::Mat& mask, cv::Mat& labels, cv::Mat& stats, cv::Mat& centroids) {
    return cv::connectedComponentsWithStats(mask, labels, stats, centroids, 8, CV_32S, cv::CCL_GRANA);
}

// Dark marks on a lighter ground, of a letter's size.
Marks findmarks(const cv::Mat& grey) {
    cv::Mat ink;
    cv::adaptiveThreshold(grey, ink, 255, cv::ADAPTIVE_THRESH_MEAN_C, cv::THRESH_BINARY_INV, 31, 15);
    cv::Mat labels, stats, centroids;
    const int count = components(ink, labels, stats, centroids);
    std::vector<unsigned char> keep(static_cast<size_t>(count), 0);
    std::vector<int> sizes;
    Marks marks;
    for (int i = 1; i < count; ++i) {
        const int w = stats.at<int>(i, cv::CC_STAT_WIDTH);
        const int h = stats.at<int>(i, cv::CC_STAT_HEIGHT);
        const int area = stats.at<int>(i, cv::CC_STAT_AREA);
        const int side = std::max(w, h);
        if (side < smallestmark || side > largestmark || area < 5)
            continue;
        keep[static_cast<size_t>(i)] = 255;
        sizes.push_back(side);
        marks.centres.emplace_back(float(centroids.at<double>(i, 0)), float(centroids.at<double>(i, 1)));
    }
    if (static_cast<int>(sizes.size()) < fewestmarks)
        return {};
    std::nth_element(sizes.begin(), sizes.begin() + static_cast<long>(sizes.size() / 2), sizes.end());
    marks.size = sizes[sizes.size() / 2];
    marks.mask = cv::Mat::zeros(grey.size(), CV_8U);
    for (int y = 0; y < labels.rows; ++y) {
        const int* label = labels.ptr<int>(y);
        unsigned char* out = marks.mask.ptr<unsigned char>(y);
        for (int x = 0; x < labels.cols; ++x)
            out[x] = keep[static_cast<size_t>(label[x])];
    }
    return marks;
}

// Which way the lines run: the letters of a line are each other's nearest neighbours, closer
// than the lines are to each other. 0 along the rows, 1 along the columns, -1 when neither way
// clearly wins.
int linedirection(const Marks& marks) {
    // Marks in cells of two letters' size: a nearest neighbour worth counting is in the next cell.
    const float cell = 2.0F * float(marks.size);
    std::map<std::pair<int, int>, std::vector<cv::Point2f>> grid;
    for (const cv::Point2f& c : marks.centres)
        grid[{int(c.x / cell), int(c.y / cell)}].push_back(c);
    int along = 0, across = 0;
    for (const cv::Point2f& c : marks.centres) {
        const int gx = int(c.x / cell), gy = int(c.y / cell);
        float best = cell * cell;
        cv::Point2f nearest(0, 0);
        for (int dy = -1; dy <= 1; ++dy) {
            for (int dx = -1; dx <= 1; ++dx) {
                const auto found = grid.find({gx + dx, gy + dy});
                if (found == grid.end())
                    continue;
                for (const cv::Point2f& o : found->second) {
                    const cv::Point2f d = o - c;
                    const float distance = d.dot(d);
                    if (distance > 0 && distance < best) {
                        best = distance;
                        nearest = d;
                    }
                }
            }
        }
        if (std::abs(nearest.x) > 2 * std::abs(nearest.y))
            ++along;
        else if (std::abs(nearest.y) > 2 * std::abs(nearest.x))
            ++across;
    }
    if (along >= fewestmarks && along >= majority * across)
        return 0;
    if (across >= fewestmarks && across >= majority * along)
        return 1;
    return -1;
}

// The lines of text running across a mask: its marks smeared along the rows, kept where the
// smear is long and thin.
std::vector<cv::Rect> findlines(const cv::Mat& mask, int size) {
    cv::Mat smeared;
    cv::dilate(mask, smeared, cv::getStructuringElement(cv::MORPH_RECT, cv::Size(size + 1, 1)));
    cv::Mat labels, stats, centroids;
    const int count = components(smeared, labels, stats, centroids);
    std::vector<cv::Rect> lines;
    for (int i = 1; i < count; ++i) {
        const cv::Rect box(stats.at<int>(i, cv::CC_STAT_LEFT), stats.at<int>(i, cv::CC_STAT_TOP),
                           stats.at<int>(i, cv::CC_STAT_WIDTH), stats.at<int>(i, cv::CC_STAT_HEIGHT));
        if (box.width >= 4 * box.height && box.width >= 4 * size && box.height <= 2 * size + 2)
            lines.push_back(box);
    }
    return lines;
}

// +1 when the line's ink rises above its dense middle band more than it hangs below it, -1 for
// the reverse, 0 when neither side clearly wins.
int sideofline(const cv::Mat& mask, const cv::Rect& line) {
    cv::Mat profile;
    cv::reduce(mask(line), profile, 1, cv::REDUCE_SUM, CV_32S);
    const int rows = profile.rows;
    int peak = 0;
    for (int y = 0; y < rows; ++y)
        peak = std::max(peak, profile.at<int>(y));
    int first = rows, last = -1;
    for (int y = 0; y < rows; ++y) {
        if (profile.at<int>(y) * 2 >= peak) {
            first = std::min(first, y);
            last = y;
        }
    }
    double above = 0, below = 0;
    for (int y = 0; y < first; ++y)
        above += profile.at<int>(y);
    for (int y = last + 1; y < rows; ++y)
        below += profile.at<int>(y);
    if (above > sidemargin * below && above > 0)
        return 1;
    if (below > sidemargin * above && below > 0)
        return -1;
    return 0;
}

// Whether the ground just above a line and just below it (the pixels that aren't marks) is alike,
// as the paper or plate around a line of text is.
bool onevenground(const cv::Mat& grey, const cv::Mat& mask, const cv::Rect& line) {
    const cv::Rect whole(0, 0, grey.cols, grey.rows);
    const cv::Rect above = cv::Rect(line.x, line.y - line.height, line.width, line.height) & whole;
    const cv::Rect below = cv::Rect(line.x, line.y + line.height, line.width, line.height) & whole;
    if (above.empty() || below.empty())
        return true;
    cv::Mat groundabove, groundbelow;
    cv::bitwise_not(mask(above), groundabove);
    cv::bitwise_not(mask(below), groundbelow);
    return std::abs(cv::mean(grey(above), groundabove)[0] - cv::mean(grey(below), groundbelow)[0]) <=
           groundgap;
}

} // namespace

TextLines findtextlines(const cv::Mat& grey) {
    TextLines found;
    const Marks marks = findmarks(grey);
    if (marks.mask.empty())
        return found;
    // Lines along the columns run along the rows of the picture turned a quarter clockwise.
    const int quarter = linedirection(marks);
    if (quarter < 0)
        return found;
    found.ink = marks.mask;
    found.ground = grey;
    if (quarter == 1) {
        cv::rotate(marks.mask, found.ink, cv::ROTATE_90_CLOCKWISE);
        cv::rotate(grey, found.ground, cv::ROTATE_90_CLOCKWISE);
    }
    found.lines = findlines(found.ink, marks.size);
    std::erase_if(found.lines,
                  [&](const cv::Rect& line) { return !onevenground(found.ground, found.ink, line); });
    if (static_cast<int>(found.lines.size()) < fewestlines)
        return {};
    found.quarter = quarter;
    found.size = marks.size;
    return found;
}

CueReading readtext(const TextLines& text) {
    CueReading reading;
    if (text.quarter < 0)
        return reading;
    int up = 0, down = 0;
    for (const cv::Rect& line : text.lines) {
        const int side = sideofline(text.ink, line);
        up += side > 0;
        down += side < 0;
    }
    if (up >= fewestlines && up >= majority * down) {
        reading = {true, text.quarter, up};
    } else if (down >= fewestlines && down >= majority * up) {
        reading = {true, text.quarter + 2, down};
    }
    return reading;
}

} // namespace pivotel::look
