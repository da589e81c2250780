#include "platform/linux/watch/MarkSet.h"

#include <algorithm>

namespace velmora {

MarkSet::MarkSet(MarkPolicy policy) : policy_(policy) {
    reset();
}

void MarkSet::reset() {
    backends_.clear();
    orphans_.clear();
    missing_.clear();
    if (policy_.fanotify) missing_.push_back(makeFanotifyMarks);
    if (policy_.inotify) missing_.push_back(makeInotifyMarks);
    retry();
}

void MarkSet::retry() {
    std::erase_if(missing_, [this](Make make) {
        std::unique_ptr<DirectoryMarks> marks = make();
        if (!marks) return false;
        const std::size_t limit = std::min(marks->limit(), policy_.maximumMarks);
        backends_.push_back({std::move(marks), limit, 0});
        return true;
    });
}

MarkSet::Backend* MarkSet::backendOf(MarkKey mark) {
    const auto backend =
        std::find_if(backends_.begin(), backends_.end(), [&](const Backend& each) { return each.marks->owns(mark); });
    return backend == backends_.end() ? nullptr : &*backend;
}

std::optional<MarkKey> MarkSet::add(int folder, bool isRoot) {
    for (Backend& backend : backends_) {
        // A limit that is reached is not got around by using up the next one as well.
        if (!isRoot && backend.inUse >= backend.limit) return std::nullopt;
        const auto outcome = backend.marks->add(folder, isRoot);
        if (const MarkKey* mark = std::get_if<MarkKey>(&outcome)) return *mark;
        if (std::get<DirectoryMarks::Failure>(outcome) == DirectoryMarks::Failure::exhausted) return std::nullopt;
    }
    return std::nullopt;
}

void MarkSet::keep(MarkKey mark) {
    Backend* backend = backendOf(mark);
    if (backend && orphans_.erase(mark) == 0) ++backend->inUse;
}

void MarkSet::release(MarkKey mark, bool mayLive) {
    Backend* backend = backendOf(mark);
    if (!backend) return;
    if (backend->marks->remove(mark) || !mayLive) {
        --backend->inUse;
    } else {
        orphans_.insert(mark);
    }
}

void MarkSet::read(DirectoryEvents& events) {
    for (Backend& backend : backends_)
        backend.marks->read(events);
}

std::vector<int> MarkSet::descriptors() const {
    std::vector<int> descriptors;
    descriptors.reserve(backends_.size());
    for (const Backend& backend : backends_)
        descriptors.push_back(backend.marks->descriptor());
    return descriptors;
}

bool MarkSet::needsReset() const {
    constexpr std::size_t tolerated = 1'000;
    std::size_t inUse = 0;
    for (const Backend& backend : backends_)
        inUse += backend.inUse;
    return orphans_.size() > std::max(tolerated, inUse / 4);
}

}  // namespace velmora
