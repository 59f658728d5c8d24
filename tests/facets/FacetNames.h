// The names of the ten facets as applications write them, in the order of
// their factories in Facet.h: what both facet test programs expect.
#ifndef QDX_TESTS_FACET_NAMES_H
#define QDX_TESTS_FACET_NAMES_H

inline char const* const kFacetNames[] = {"product",   "geo",         "content", "http", "browser",
                                          "operation", "entitlement", "device",  "user", "component"};

#endif
