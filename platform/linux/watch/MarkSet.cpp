#include "platform/linux/watch/MarkSet.h"

#include "core/AppError.h"

#include <algorithm>

namespace velmora {

MarkSet::MarkSet(MarkPolicy policy) : policy_(policy) {
    renew();
    if (ways_.empty()) throw AppError::recoverable("File system monitoring could not start.");
}

void MarkSet::renew() {
    ways_.clear();
    strays_.clear();
    const auto use = [&](std::unique_ptr<DirectoryMarks> marks) {
        if (!marks) return;
        const std::size_t limit = std::min(marks->limit(), policy_.maximumMarks);
        ways_.push_back({std::move(marks), limit, 0});
    };
    if (policy_.fanotify) use(makeFanotifyMarks());
    if (policy_.inotify) use(makeInotifyMarks());
}

MarkSet::Way* MarkSet::wayOf(MarkKey mark) {
    const auto way = std::find_if(ways_.begin(), ways_.end(), [&](const Way& each) { return each.marks->owns(mark); });
    return way == ways_.end() ? nullptr : &*way;
}

std::optional<MarkKey> MarkSet::add(int folder, bool isRoot) {
    for (Way& way : ways_) {
        // A limit that is reached is not got around by using up the next one as well.
        if (way.inUse >= way.limit) return std::nullopt;
        const auto outcome = way.marks->add(folder, isRoot);
        if (const MarkKey* mark = std::get_if<MarkKey>(&outcome)) return *mark;
        if (std::get<DirectoryMarks::Failure>(outcome) == DirectoryMarks::Failure::exhausted) return std::nullopt;
    }
    return std::nullopt;
}

void MarkSet::keep(MarkKey mark) {
    Way* way = wayOf(mark);
    if (way && strays_.erase(mark) == 0) ++way->inUse;
}

void MarkSet::release(MarkKey mark, bool mayLive) {
    Way* way = wayOf(mark);
    if (!way) return;
    if (way->marks->remove(mark) || !mayLive) {
        --way->inUse;
    } else {
        strays_.insert(mark);
    }
}

void MarkSet::read(DirectoryEvents& events) {
    for (Way& way : ways_)
        way.marks->read(events);
}

std::vector<int> MarkSet::descriptors() const {
    std::vector<int> descriptors;
    descriptors.reserve(ways_.size());
    for (const Way& way : ways_)
        descriptors.push_back(way.marks->descriptor());
    return descriptors;
}

bool MarkSet::needsRenewal() const {
    constexpr std::size_t tolerated = 1'000;
    std::size_t inUse = 0;
    for (const Way& way : ways_)
        inUse += way.inUse;
    return strays_.size() > std::max(tolerated, inUse / 4);
}

}  // namespace velmora
