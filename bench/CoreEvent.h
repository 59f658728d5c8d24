// The event that the TrackEvent benchmarks report, so that their figures can
// be set side by side: a core facet container with four facets (product,
// user, device, content) and 25 fields of every kind, a nested object and an
// array among them.
#ifndef QDX_BENCH_CORE_EVENT_H
#define QDX_BENCH_CORE_EVENT_H

#include "Facet.h"
#include "FacetCore.h"

#include <initializer_list>

namespace QdxBench {

inline void FillCoreEvent(Norvane::QDXDesktopSDK::Facet::Core& core)
{
    using Norvane::QDXDesktopSDK::JsonValue;
    using Norvane::QDXDesktopSDK::Facet::Core;
    JsonValue& product = core.GetFacetByName("product", Core::FacetCreate)->Data();
    product["product_name"] = "QdxEditor";
    product["product_version"] = "12.3.1.4567";
    product["product_locale"] = "en_US";
    product["product_build"] = 4567;
    product["product_channel"] = "release";
    product["product_platform"] = "linux-x86_64";
    JsonValue& user = core.GetFacetByName("user", Core::FacetCreate)->Data();
    user["user_guid"] = "9b1d7e52-3a64-4c0f-8e2d-51f7a9c0b3e8";
    user["user_type"] = "individual";
    user["user_region"] = "EU";
    user["user_plan"] = "trial";
    user["user_age_days"] = 12;
    user["user_is_trial"] = true;
    JsonValue& device = core.GetFacetByName("device", Core::FacetCreate)->Data();
    device["device_id"] = "d2c4e6f8-1a3b-4c5d-9e7f-0a1b2c3d4e5f";
    device["device_os"] = "Linux";
    device["device_os_version"] = "6.1.0-18-amd64";
    device["device_cpu_count"] = 8;
    device["device_memory_mb"] = 16384;
    device["device_screen_scale"] = 1.5;
    JsonValue& content = core.GetFacetByName("content", Core::FacetCreate)->Data();
    content["content_type"] = "application/pdf";
    content["content_size"] = 2483921;
    content["content_pages"] = 12;
    content["content_name"] = "report.pdf";
    content["content_is_shared"] = false;
    for (char const* tag : {"cloud", "shared", "signed", "large"})
        content["content_tags"][-1] = tag;
    content["content_meta"]["origin"] = "local";
}

}  // namespace QdxBench

#endif
