#include "app/ui/icons/SymbolIcons.h"

#include <array>

namespace velmora {
namespace {

constexpr std::array drawings{
    SymbolDrawing{
        "folder",
        R"(<path d="M3.5 7.2a2 2 0 0 1 2-2h3.9l2.2 2.3h6.9a2 2 0 0 1 2 2v7.3a2 2 0 0 1-2 2h-13a2 2 0 0 1-2-2z"/>)"},
    SymbolDrawing{"arrow.down.circle",
                  R"(<circle cx="12" cy="12" r="8.5"/><path d="M12 7.8v8.2M8.4 12.6 12 16.2l3.6-3.6"/>)"},
    SymbolDrawing{
        "square.grid.2x2",
        R"(<rect x="4" y="4" width="6.6" height="6.6" rx="1.6"/><rect x="13.4" y="4" width="6.6" height="6.6" rx="1.6"/>
<rect x="4" y="13.4" width="6.6" height="6.6" rx="1.6"/><rect x="13.4" y="13.4" width="6.6" height="6.6" rx="1.6"/>)"},
    SymbolDrawing{
        "square.grid.3x3.fill",
        R"(<g fill="#000" stroke="none"><rect x="3" y="3" width="5" height="5" rx="1.3"/><rect x="9.5" y="3" width="5" height="5" rx="1.3"/>
<rect x="16" y="3" width="5" height="5" rx="1.3"/><rect x="3" y="9.5" width="5" height="5" rx="1.3"/><rect x="9.5" y="9.5" width="5" height="5" rx="1.3"/>
<rect x="16" y="9.5" width="5" height="5" rx="1.3"/><rect x="3" y="16" width="5" height="5" rx="1.3"/><rect x="9.5" y="16" width="5" height="5" rx="1.3"/>
<rect x="16" y="16" width="5" height="5" rx="1.3"/></g>)"},
    SymbolDrawing{
        "lock",
        R"(<rect x="5.5" y="10.8" width="13" height="9.4" rx="2.2"/><path d="M8.2 10.8V8a3.8 3.8 0 0 1 7.6 0v2.8"/>)"},
    SymbolDrawing{"moon", R"(<path d="M20 14.3A8.3 8.3 0 1 1 9.7 4a6.6 6.6 0 0 0 10.3 10.3z"/>)"},
    SymbolDrawing{
        "trash",
        R"(<path d="M4.5 6.8h15M9.3 6.8V4.5h5.4v2.3M6.4 6.8l.8 11.7a1.8 1.8 0 0 0 1.8 1.7h6a1.8 1.8 0 0 0 1.8-1.7l.8-11.7M10.2 10.5v5.8M13.8 10.5v5.8"/>)"},
    SymbolDrawing{
        "doc.text.magnifyingglass",
        R"(<path d="M18 9.2V5.6a2 2 0 0 0-2-2H7a2 2 0 0 0-2 2v12.8a2 2 0 0 0 2 2h3M8.5 8h6M8.5 11.6h2.6"/><circle cx="15.4" cy="15.4" r="3.7"/><path d="m18.2 18.2 2.6 2.6"/>)"},
    SymbolDrawing{"magnifyingglass", R"(<circle cx="10.8" cy="10.8" r="6.3"/><path d="m15.6 15.6 4.9 4.9"/>)"},
    SymbolDrawing{
        "clipboard",
        R"(<path d="M9 5H7a2 2 0 0 0-2 2v11.5a2 2 0 0 0 2 2h10a2 2 0 0 0 2-2V7a2 2 0 0 0-2-2h-2"/><rect x="9" y="3.3" width="6" height="3.6" rx="1.3"/>)"},
    SymbolDrawing{
        "doc.on.clipboard",
        R"(<path d="M9 5H7a2 2 0 0 0-2 2v11.5a2 2 0 0 0 2 2h10a2 2 0 0 0 2-2V7a2 2 0 0 0-2-2h-2M8.6 11h6.8M8.6 14.6h4.4"/><rect x="9" y="3.3" width="6" height="3.6" rx="1.3"/>)"},
    SymbolDrawing{
        "sparkles",
        R"(<path d="M10.2 4.2c.6 4.3 2.5 6.2 6.8 6.8-4.3.6-6.2 2.5-6.8 6.8-.6-4.3-2.5-6.2-6.8-6.8 4.3-.6 6.2-2.5 6.8-6.8z"/><path d="M18.4 14.6c.3 2 1.1 2.8 3.1 3.1-2 .3-2.8 1.1-3.1 3.1-.3-2-1.1-2.8-3.1-3.1 2-.3 2.8-1.1 3.1-3.1z" fill="#000" stroke="none"/>)"},
    SymbolDrawing{
        "gearshape",
        R"(<path d="M10.3 5.3 10.7 3.1h2.6L13.7 5.3 15.5 6.1 17.4 4.8 19.2 6.6 17.9 8.5 18.7 10.3 20.9 10.7v2.6L18.7 13.7 17.9 15.5 19.2 17.4 17.4 19.2 15.5 17.9 13.7 18.7 13.3 20.9h-2.6L10.3 18.7 8.5 17.9 6.6 19.2 4.8 17.4 6.1 15.5 5.3 13.7 3.1 13.3v-2.6L5.3 10.3 6.1 8.5 4.8 6.6 6.6 4.8 8.5 6.1z"/><circle cx="12" cy="12" r="2.9"/>)"},
    SymbolDrawing{
        "folder.badge.gearshape",
        R"(<path d="M20.5 10.6V9.5a2 2 0 0 0-2-2h-6.9L9.4 5.2H5.5a2 2 0 0 0-2 2v9.6a2 2 0 0 0 2 2h5.7"/><circle cx="17.3" cy="17" r="3"/><circle cx="17.3" cy="17" r="1" fill="#000" stroke="none"/><path d="M17.3 12.8V14M17.3 20v1.2M13.7 14.9l1 .6M19.9 18.5l1 .6M13.7 19.1l1-.6M19.9 15.5l1-.6"/>)"},
    SymbolDrawing{"clock.arrow.circlepath",
                  R"(<path d="M4.3 8.6A8.4 8.4 0 1 1 3.6 12M4 4.2v4.5h4.5M12 7.6V12l3.1 2"/>)"},
    SymbolDrawing{"chevron.left", R"(<path d="M14.4 5.6 8 12l6.4 6.4"/>)"},
    SymbolDrawing{"chevron.down", R"(<path d="M5.6 9.2 12 15.6l6.4-6.4"/>)"},
    SymbolDrawing{
        "terminal",
        R"(<rect x="3.3" y="4.8" width="17.4" height="14.4" rx="2.4"/><path d="m7 9.2 3 2.8-3 2.8M12.2 15h4.6"/>)"},
    SymbolDrawing{
        "command",
        R"(<path d="M9 9h6v6H9zM9 9H6.6A2.6 2.6 0 1 1 9 6.4zM15 9V6.4A2.6 2.6 0 1 1 17.4 9zM15 15h2.4a2.6 2.6 0 1 1-2.4 2.6zM9 15v2.6A2.6 2.6 0 1 1 6.6 15z"/>)"},
    SymbolDrawing{"return", R"(<path d="M19.4 6v4.8a3 3 0 0 1-3 3H5M9.2 9.4 4.8 13.8l4.4 4.4"/>)"},
    SymbolDrawing{"equal.circle", R"(<circle cx="12" cy="12" r="8.5"/><path d="M8.4 10.1h7.2M8.4 13.9h7.2"/>)"},
    SymbolDrawing{
        "calculator",
        R"(<rect x="5.5" y="3.5" width="13" height="17" rx="2.3"/><path d="M8.7 7.4h6.6M8.8 11.6h.01M12 11.6h.01M15.2 11.6h.01M8.8 14.6h.01M12 14.6h.01M15.2 14.6h.01M8.8 17.4h.01M12 17.4h.01M15.2 17.4h.01"/>)"},
    SymbolDrawing{
        "link",
        R"(<path d="M10 13.9a4.1 4.1 0 0 0 5.9.1l3-3A4.1 4.1 0 0 0 13 5.2l-1.2 1.2M14 10.1a4.1 4.1 0 0 0-5.9-.1l-3 3a4.1 4.1 0 0 0 5.9 5.8l1.2-1.2"/>)"},
    SymbolDrawing{
        "wand.and.stars",
        R"(<path d="M4 20 13.6 10.4M12.2 9l2.8 2.8"/><path d="M17.2 3.4c.3 2.1 1.2 3 3.3 3.3-2.1.3-3 1.2-3.3 3.3-.3-2.1-1.2-3-3.3-3.3 2.1-.3 3-1.2 3.3-3.3zM8 4.2c.2 1.4.8 2 2.2 2.2-1.4.2-2 .8-2.2 2.2-.2-1.4-.8-2-2.2-2.2 1.4-.2 2-.8 2.2-2.2zM18.6 14c.2 1.4.8 2 2.2 2.2-1.4.2-2 .8-2.2 2.2-.2-1.4-.8-2-2.2-2.2 1.4-.2 2-.8 2.2-2.2z" fill="#000" stroke="none"/>)"},
    SymbolDrawing{
        "person.crop.circle",
        R"(<circle cx="12" cy="12" r="8.7"/><circle cx="12" cy="9.8" r="2.9"/><path d="M6.4 18.2a6.4 6.4 0 0 1 11.2 0"/>)"},
    SymbolDrawing{
        "point.3.connected.trianglepath.dotted",
        R"(<circle cx="12" cy="5.8" r="2.4"/><circle cx="5.8" cy="17.2" r="2.4"/><circle cx="18.2" cy="17.2" r="2.4"/><path d="M10.7 8.2 7.1 14.8M13.3 8.2l3.6 6.6M8.6 17.2h6.8" stroke-dasharray=".1 2.6"/>)"},
    SymbolDrawing{"minus.circle", R"(<circle cx="12" cy="12" r="8.5"/><path d="M8.2 12h7.6"/>)"},
    SymbolDrawing{
        "exclamationmark.triangle",
        R"(<path d="M10.4 4.6 3 17.4a1.8 1.8 0 0 0 1.6 2.7h14.8a1.8 1.8 0 0 0 1.6-2.7L13.6 4.6a1.8 1.8 0 0 0-3.2 0zM12 9.4v4.4M12 16.8h.01"/>)"},
    SymbolDrawing{
        "doc", R"(<path d="M13.4 3.6H7.5a2 2 0 0 0-2 2v12.8a2 2 0 0 0 2 2h9a2 2 0 0 0 2-2V8.7zM13.2 3.8v5.1h5.1"/>)"},
    SymbolDrawing{"app", R"(<rect x="4" y="4" width="16" height="16" rx="4.4"/><path d="M12 8.4v7.2M8.4 12h7.2"/>)"},
};

}  // namespace

std::span<const SymbolDrawing> symbolDrawings() {
    return drawings;
}

}  // namespace velmora
