// Argument objects like the ones the core stores for usage events: about
// 850 bytes of compact JSON each, alike in their names and shape, varied in
// their values, as a stream of events from several sessions is.
#ifndef QDX_LOCAL_CORE_EVENT_SAMPLES_H
#define QDX_LOCAL_CORE_EVENT_SAMPLES_H

#include <cstdio>
#include <random>
#include <string>

namespace QdxStoreSamples {

class EventSamples {
public:
    explicit EventSamples(unsigned seed = 7) : m_random(seed) {}

    /// The session id of event i: a new session every 200 events.
    static std::string SessionId(long long i)
    {
        char text[40];
        std::snprintf(text, sizeof text, "4f6c2a9e-7d31-4b8e-9c55-%012llx", 0x0e2f1a7b0000LL + i / 200);
        return text;
    }

    std::string Next(long long i)
    {
        static char const* const names[] = {"document_saved",  "document_opened",    "export_finished", "print_started",
                                            "tool_selected",   "search_run",         "comment_added",   "page_rotated",
                                            "signature_added", "share_link_created", "ocr_finished",    "zoom_changed"};
        static char const* const categories[] = {"file", "edit", "view", "share", "tools"};
        static char const* const surfaces[] = {"toolbar", "menu", "context_menu", "shortcut", "panel"};
        static char const* const workflows[] = {"export", "review", "sign", "scan", "organize"};
        static char const* const types[] = {"application/pdf", "image/png", "image/jpeg", "text/plain"};
        static char const* const tags[] = {"cloud", "shared", "signed", "large", "local", "scanned", "encrypted"};
        static int const widths[] = {1920, 2560, 3840, 1366};
        static int const heights[] = {1080, 1440, 2160, 768};

        std::string tagList;
        for (int t = 0, count = Pick(4) + 1; t < count; ++t)
            tagList += std::string(t ? "," : "") + "\"" + tags[Pick(7)] + "\"";
        int const screen = Pick(4);
        char text[2048];
        std::snprintf(
            text, sizeof text,
            "{\"event_name\":\"%s\",\"event_category\":\"%s\",\"event_subcategory\":\"%s_%d\","
            "\"session_id\":\"%s\",\"product_id\":\"QdxEditor\",\"product_version\":\"12.3.1.4567\","
            "\"os_name\":\"Linux\",\"os_version\":\"6.1.0-18-amd64\",\"locale\":\"%s\","
            "\"user_guid\":\"9b1d7e52-3a64-4c0f-8e2d-51f7a9c0b3e8\","
            "\"device_id\":\"d2c4e6f8-1a3b-4c5d-9e7f-0a1b2c3d4e5f\",\"timestamp\":%lld,\"duration_ms\":%d,"
            "\"file_size\":%d,\"page_count\":%d,\"is_trial\":%s,\"is_first_run\":%s,\"ratio\":%.4f,"
            "\"retry_count\":%d,\"workflow\":\"%s\",\"ui_surface\":\"%s\",\"content_type\":\"%s\","
            "\"build_channel\":\"release\",\"tags\":[%s],\"context\":{\"screen_width\":%d,\"screen_height\":%d,"
            "\"scale\":%s,\"theme\":\"%s\",\"window\":\"%s\",\"document_id\":\"doc-%08x-%04x\"},"
            "\"_sdk_api_version\":\"5.5.34.5\",\"trace\":{\"request_id\":\"%08x-%04x-%04x\",\"step\":%d}}",
            names[Pick(12)], categories[Pick(5)], names[Pick(12)], Pick(9), SessionId(i).c_str(),
            Pick(3) ? "en_US" : "de_DE", 1732290000123LL + i * 1537, Pick(60000), Pick(50000000), Pick(400) + 1,
            Pick(2) ? "true" : "false", Pick(10) ? "false" : "true", Pick(10000) / 10000.0, Pick(3), workflows[Pick(5)],
            surfaces[Pick(5)], types[Pick(4)], tagList.c_str(), widths[screen], heights[screen], Pick(2) ? "1.5" : "2",
            Pick(2) ? "dark" : "light", Pick(4) ? "main" : "secondary", Pick(1 << 30), Pick(1 << 16), Pick(1 << 30),
            Pick(1 << 16), Pick(1 << 16), Pick(12));
        return text;
    }

private:
    int Pick(int count) { return std::uniform_int_distribution<int>(0, count - 1)(m_random); }

    std::mt19937 m_random;
};

}  // namespace QdxStoreSamples

#endif
