#ifndef QDX_BENCH_EVENT_BODY_H
#define QDX_BENCH_EVENT_BODY_H

#include "JsonValue.h"

#include <initializer_list>

namespace QdxBench {

/// A typical event body: 25 members of every kind, a nested object and an
/// array of strings.
inline Norvane::QDXDesktopSDK::JsonValue MakeEventBody()
{
    Norvane::QDXDesktopSDK::JsonValue body;
    body["event_name"] = "document_saved";
    body["event_category"] = "file";
    body["event_subcategory"] = "save";
    body["session_id"] = "4f6c2a9e-7d31-4b8e-9c55-0e2f1a7b3d64";
    body["product_id"] = "QdxEditor";
    body["product_version"] = "12.3.1.4567";
    body["os_name"] = "Linux";
    body["os_version"] = "6.1.0-18-amd64";
    body["locale"] = "en_US";
    body["user_guid"] = "9b1d7e52-3a64-4c0f-8e2d-51f7a9c0b3e8";
    body["device_id"] = "d2c4e6f8-1a3b-4c5d-9e7f-0a1b2c3d4e5f";
    body["timestamp"] = 1732290000123LL;
    body["duration_ms"] = 1532;
    body["file_size"] = 2483921;
    body["page_count"] = 12;
    body["is_trial"] = false;
    body["is_first_run"] = true;
    body["ratio"] = 0.625;
    body["retry_count"] = 0;
    body["workflow"] = "export";
    body["ui_surface"] = "toolbar";
    body["content_type"] = "application/pdf";
    body["build_channel"] = "release";
    for (char const* tag : {"cloud", "shared", "signed", "large"})
        body["tags"][-1] = tag;
    body["context"]["screen_width"] = 2560;
    body["context"]["screen_height"] = 1440;
    body["context"]["scale"] = 1.5;
    body["context"]["theme"] = "dark";
    body["context"]["window"] = "main";
    return body;
}

}  // namespace QdxBench

#endif
