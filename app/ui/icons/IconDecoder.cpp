#include "app/ui/icons/IconDecoder.h"

#include "app/ui/icons/IconImage.h"

#include <cstdlib>
#include <cstring>
#include <istream>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <utility>
#include <vector>

namespace velmora {
namespace {

using namespace std::chrono_literals;

/// A hundred times what ordinary pictures take.
constexpr auto longestDecoding = 1s;

/// Both sides are the same program on the same machine: numbers travel as they are.
struct Question {
    std::uint32_t size = 0;
    std::uint32_t bytes = 0;  ///< of the image file, which follows
};
struct Answer {
    std::uint32_t width = 0;  ///< none: no picture
    std::uint32_t height = 0;

    /// What follows: the pixels, four bytes each.
    [[nodiscard]] std::size_t bytes() const { return std::size_t{4} * width * height; }
};

template <class Numbers>
std::string bytesOf(const Numbers& numbers) {
    return {reinterpret_cast<const char*>(&numbers), sizeof numbers};
}

template <class Numbers>
Numbers numbersAt(const std::string& bytes) {
    Numbers numbers;
    std::memcpy(&numbers, bytes.data(), sizeof numbers);
    return numbers;
}

/// How long the reply is of which this is the beginning. Fails with: `std::runtime_error` for one that is none.
std::size_t lengthOf(const std::string& beginning, std::uint32_t size) {
    if (beginning.size() < sizeof(Answer)) return sizeof(Answer);
    const auto answer = numbersAt<Answer>(beginning);
    if (answer.width > size || answer.height > size) throw std::runtime_error("a picture of another size");
    return sizeof answer + answer.bytes();
}

/// No window, and as much of the session as finding the user's fonts takes.
std::vector<std::string> environment() {
    std::vector<std::string> settings{"QT_QPA_PLATFORM=offscreen"};
    for (const std::string name : {"HOME", "XDG_RUNTIME_DIR"}) {
        if (const char* const value = std::getenv(name.c_str())) settings.push_back(name + '=' + value);
    }
    return settings;
}

QImage imageOf(const std::string& reply) {
    const auto answer = numbersAt<Answer>(reply);
    QImage image(static_cast<int>(answer.width), static_cast<int>(answer.height), QImage::Format_ARGB32_Premultiplied);
    if (!image.isNull()) std::memcpy(image.bits(), reply.data() + sizeof answer, answer.bytes());
    return image;
}

}  // namespace

Task<QImage> IconDecoder::decode(std::string contents, int size) {
    const Question question{static_cast<std::uint32_t>(size), static_cast<std::uint32_t>(contents.size())};
    contents.insert(0, bytesOf(question));
    Task<QImage> exchange = this->exchange(std::move(contents), question.size);
    try {
        co_return co_await std::move(exchange);
    } catch (const Cancelled&) {
        kill();
        throw;
    } catch (const std::exception&) {
        kill();
    }
    co_return QImage();
}

Task<QImage> IconDecoder::exchange(std::string question, std::uint32_t size) {
    if (!process_) {
        // The very program that runs, even where another has been installed in its place.
        ChildProcessRequest request{.executable = "/proc/self/exe", .arguments = {argument}};
        request.environment = environment();
        request.hasInput = true;
        request.errors = ErrorOutput::discard;
        process_ = co_await processes_.start(std::move(request));
    }
    const std::shared_ptr<ChildProcess> process = process_;
    co_await process->write(std::move(question));
    std::string reply;
    while (reply.size() < lengthOf(reply, size)) {
        const std::optional<std::string> piece = co_await process->output().next();
        if (!piece) throw std::runtime_error("the picture was too much for the process");
        reply += *piece;
    }
    co_return imageOf(reply);
}

void IconDecoder::kill() {
    if (process_) process_->terminate(0ms);
    process_.reset();
}

void IconDecoder::rest() {
    if (process_) process_->closeInput();
    process_.reset();
}

void IconDecoder::serve(std::istream& input, std::ostream& output,
                        const std::function<void(std::chrono::milliseconds)>& endAfter) {
    Question question;
    while (input.read(reinterpret_cast<char*>(&question), sizeof question)) {
        std::string contents(question.bytes, '\0');
        if (!input.read(contents.data(), question.bytes)) return;
        endAfter(longestDecoding);
        const QImage image = IconImage::decode(contents, static_cast<int>(question.size))
                                 .convertToFormat(QImage::Format_ARGB32_Premultiplied);
        endAfter(0ms);
        const Answer answer{static_cast<std::uint32_t>(image.width()), static_cast<std::uint32_t>(image.height())};
        output << bytesOf(answer);
        output.write(reinterpret_cast<const char*>(image.constBits()), static_cast<std::streamsize>(answer.bytes()));
        output.flush();
    }
}

}  // namespace velmora
