#include "app/storage/QuicklinkRepository.h"

namespace velmora {

Task<std::vector<Quicklink>> QuicklinkRepository::load() const {
    static constexpr auto sql = "SELECT id,title,url_template FROM quicklinks ORDER BY title";
    const auto rows = co_await database_->rows(sql);
    std::vector<Quicklink> links;
    for (const Row& row : rows) {
        const auto id = row.text("id");
        const auto title = row.text("title");
        const auto url = row.text("url_template");
        if (id && title && url) links.push_back({std::string(*id), std::string(*title), std::string(*url)});
    }
    co_return links;
}

Task<> QuicklinkRepository::save(Quicklink link) const {
    static constexpr auto sql =
        "INSERT INTO quicklinks(id,title,url_template) VALUES(?,?,?) "
        "ON CONFLICT(id) DO UPDATE SET title=excluded.title,url_template=excluded.url_template";
    return database_->execute(sql, {std::move(link.id), std::move(link.title), std::move(link.url)});
}

Task<> QuicklinkRepository::remove(std::string id) const {
    static constexpr auto sql = "DELETE FROM quicklinks WHERE id=?";
    return database_->execute(sql, {std::move(id)});
}

}  // namespace velmora
