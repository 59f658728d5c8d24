#ifndef QDX_STATIC_SET_UP_ORDER_H
#define QDX_STATIC_SET_UP_ORDER_H

// The order in which the library's modules set up their static state when it
// is loaded: the singleton registry, then the public interface's sender
// registry, then the JSON value module. Static state is torn down in the
// reverse order at unload, so the senders (which finalise their companions
// and log while they go) are destroyed while the singleton registry, and
// with it the logger, still exists. The utilities and process helpers have
// no static set-up of their own.
#define QDX_STATIC_SET_UP_SINGLETON_MANAGER __attribute__((init_priority(1003)))
#define QDX_STATIC_SET_UP_PUBLIC_INTERFACE __attribute__((init_priority(1004)))
#define QDX_STATIC_SET_UP_JSON_VALUE __attribute__((init_priority(1005)))

#endif
