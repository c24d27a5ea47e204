// SPDX-License-Identifier: Apache-2.0
#ifndef BRIVANE_H
#define BRIVANE_H

/// @file
/// The library for a host in C, or in any language that can call C.
///
/// Install services, create a manager, wait for `did_is_ready`, start detection. What each call
/// does, and when, is said in full in the C++ header of the same name, BVManager.h above all.
///
/// Rules that hold for everything here:
/// - Texts are UTF-8 and end with a NUL; one that holds a NUL itself ends there. An absent text is
///   NULL. What the library hands to a callback is valid during that call: copy what you keep. What
///   you hand to the library is copied, unless it says otherwise.
/// - A table of functions is copied when it is handed over; `user` comes back as the first argument
///   of each of its functions and is never looked at. A function may be NULL only where it says so.
/// - No exception crosses this interface, either way: a callback must return.
/// - Every function may be called on any thread, also from inside a callback, unless it says
///   otherwise.

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __GNUC__
#  define BRIVANE_C_EXPORT __attribute__((visibility("default")))
#else
#  define BRIVANE_C_EXPORT
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Failures ---- */

/// How a call ended.
typedef enum brivane_status {
  BRIVANE_OK = 0,
  /// An argument is missing or of no use.
  BRIVANE_INVALID_ARGUMENT = 1,
  /// Not now: no services are installed, or some are already, or this is the wrong thread.
  BRIVANE_WRONG_STATE = 2,
  /// The property list lacks BrivaneAPIKey or BrivaneAPISecret.
  BRIVANE_CREDENTIALS_NOT_FOUND = 3,
  /// The property list lacks NSLocationAlwaysUsageDescription.
  BRIVANE_LOCATION_AUTH_ERROR = 4,
  /// Anything else: memory, a file, a thread.
  BRIVANE_FAILED = 5
} brivane_status;

/// Why one call failed: the caller's own, so that threads do not meet. Written only on failure.
/// Wherever one is taken, NULL is allowed.
typedef struct brivane_failure {
  /// What the call returned.
  brivane_status status;
  /// One line for a developer, shortened to fit.
  char text[256];
} brivane_failure;

/* ---- What this is ---- */

/// As "1.0.0". The library's own text, as are the next two.
BRIVANE_C_EXPORT const char* brivane_version(void);
/// Host name of the web service.
BRIVANE_C_EXPORT const char* brivane_api_host(void);
/// Proximity UUID that every beacon of the network sends: 36 characters, upper-case.
BRIVANE_C_EXPORT const char* brivane_proximity_uuid(void);

/* ---- Services ---- */

/// Where a host puts a text that it is asked for. Valid during that call.
typedef struct brivane_text brivane_text;
/// Copies `text`; NULL says that there is none, as does not calling this at all.
BRIVANE_C_EXPORT void brivane_text_set(brivane_text* to, const char* text);

/// One header of a request.
typedef struct brivane_header {
  /// Without the colon.
  const char* name;
  /// Without the line end.
  const char* value;
} brivane_header;

/// What is to be sent.
typedef struct brivane_request {
  /// Absolute, https.
  const char* url;
  /// "POST": the library sends no other.
  const char* method;
  /// To be sent as they stand, beside what the HTTP layer itself needs.
  const brivane_header* headers;
  /// Of `headers`.
  size_t header_count;
  /// Any bytes.
  const char* body;
  /// Of `body`, bytes.
  size_t body_length;
} brivane_request;

/// A request that waits for its answer.
typedef struct brivane_completion brivane_completion;
/// Answers a request: `status` is that of the HTTP reply, whichever it is. To be called exactly
/// once for each request, on any thread, also from inside `execute`; the completion is gone then.
/// What follows from it happens on a thread of the library's own, one reply after another.
BRIVANE_C_EXPORT void brivane_complete(brivane_completion* completion, int status, const char* body,
                                       size_t body_length);
/// The same when the transport failed, whatever the reason, and no whole reply came.
BRIVANE_C_EXPORT void brivane_complete_failed(brivane_completion* completion);

/// Sends requests over HTTPS. Bounds what a reply may hold: 10 MiB are plenty.
typedef struct brivane_http {
  /// The first argument of each function.
  void* user;
  /// Any thread, several at once, tens in a burst. Returns at once; the request is valid meanwhile.
  void (*execute)(void* user, const brivane_request* request, brivane_completion* completion);
} brivane_http;

/// The application's small store of texts that outlive it. Any thread, several at once.
typedef struct brivane_preferences {
  /// The first argument of each function.
  void* user;
  /// Puts what is stored under `key`, if anything is.
  void (*get)(void* user, const char* key, brivane_text* value);
  /// Stores `value`, in memory at once.
  void (*set)(void* user, const char* key, const char* value);
  /// Brings what was set to permanent storage; false when that failed.
  bool (*synchronize)(void* user);
} brivane_preferences;

/// The application's property list: BrivaneAPIKey, BrivaneAPISecret and
/// NSLocationAlwaysUsageDescription. Asked while a manager is created, on that thread.
typedef struct brivane_property_list {
  /// The first argument of each function.
  void* user;
  /// Puts what stands under `key`, if anything does.
  void (*get)(void* user, const char* key, brivane_text* value);
} brivane_property_list;

/// Where log lines go; they hold credentials and tokens in clear. Any thread, several at once; must
/// not call the library.
typedef struct brivane_log {
  /// The first argument of each function.
  void* user;
  /// Takes one line, without its line end.
  void (*write)(void* user, const char* line);
} brivane_log;

/// Where a host's parser puts the value that it reads. Valid during `read`.
typedef struct brivane_json_value brivane_json_value;

// The pieces of the value, in the order of the text.

/// An object begins. Its elements follow, each after its key.
BRIVANE_C_EXPORT void brivane_json_begin_object(brivane_json_value* to);
/// The key of the element that follows.
BRIVANE_C_EXPORT void brivane_json_key(brivane_json_value* to, const char* key);
/// A list begins. Its elements follow.
BRIVANE_C_EXPORT void brivane_json_begin_list(brivane_json_value* to);
/// What began last ends.
BRIVANE_C_EXPORT void brivane_json_end(brivane_json_value* to);
/// A text; NULL is JSON null.
BRIVANE_C_EXPORT void brivane_json_text(brivane_json_value* to, const char* text);
/// A number without a fraction or an exponent, that fits.
BRIVANE_C_EXPORT void brivane_json_integer(brivane_json_value* to, int64_t value);
/// Any other number.
BRIVANE_C_EXPORT void brivane_json_real(brivane_json_value* to, double value);
/// True or false.
BRIVANE_C_EXPORT void brivane_json_boolean(brivane_json_value* to, bool value);
/// JSON null.
BRIVANE_C_EXPORT void brivane_json_null(brivane_json_value* to);

/// A parser of the host's own. Any thread, several at once.
typedef struct brivane_json {
  /// The first argument of each function.
  void* user;
  /// Reads one object or list from UTF-8 bytes; false for anything else, also where something
  /// follows it, and when the bytes are no UTF-8. Pieces that make no whole value count as false.
  bool (*read)(void* user, const char* bytes, size_t length, brivane_json_value* to);
} brivane_json;

/// What a platform like CLLocationManager's offers; for one that has such a thing. A host that has
/// a Bluetooth scanner instead makes a `brivane_live`.
typedef struct brivane_location brivane_location;
/// A location service that the host feeds.
typedef struct brivane_live brivane_live;
/// The library's own services, from brivane_adapters.h.
typedef struct brivane_adapters brivane_adapters;

/// Everything through which the library reaches the outside. The tables are copied. JSON it writes
/// by itself, and random identifiers come from the system.
typedef struct brivane_services {
  /// Needed, as are the next two.
  const brivane_http* http;
  /// See there.
  const brivane_preferences* preferences;
  /// See there.
  const brivane_property_list* property_list;
  /// This or `live` is needed, not both.
  const brivane_location* location;
  /// This or `location`.
  brivane_live* live;
  /// NULL when nobody reads the log.
  const brivane_log* log;
  /// The device's hardware identifier; NULL for the one that the system tells.
  const char* device_model;
  /// NULL for the library's own.
  const brivane_json* json;
  /// Serve in place of whichever of the above is NULL; NULL when none of them is.
  brivane_adapters* adapters;
} brivane_services;

/// Gives the library its services for the life of the process, and with them each `user`: call it
/// once, before the first manager. On failure nothing was taken.
BRIVANE_C_EXPORT brivane_status brivane_install(const brivane_services* services,
                                                brivane_failure* failure);

/// The identifier of this installation, 36 characters, kept in the preferences; absent before
/// services are installed, or when the preferences hold something else.
BRIVANE_C_EXPORT bool brivane_installation_id(char uuid[37]);

/* ---- What a host hears ---- */

/// A beacon of the network as the service describes it.
typedef struct brivane_waybeacon {
  /// The beacon's identifier at the service.
  const char* uuid;
  /// As people know it.
  const char* name;
  /// Where the beacon is, in words.
  const char* location;
  /// Accessibility information, in words. Spelled as the service spells it.
  const char* accesibility;
  /// Of a page about it.
  const char* url;
  /// What is attached to the beacon, as JSON.
  const char* payload;
  /// Degrees; 0 where the service sent none.
  double latitude;
  /// As the latitude.
  double longitude;
} brivane_waybeacon;

/// The service's answer: which beacon of the network, or which place, the device is at.
typedef struct brivane_match {
  /// The matched beacon.
  brivane_waybeacon waybeacon;
  /// As the service returned it, dBm; not the present reading.
  int64_t rssi;
  /// How near the beacon is, in the service's words.
  const char* proximity;
  /// The identifier that the service matched.
  const char* uuid;
} brivane_match;

/// A place near a coordinate.
typedef struct brivane_place {
  /// From the coordinate that was asked for, in the unit that the service sends.
  double distance;
  /// As people know it.
  const char* name;
  /// Never filled from a reply.
  const char* uuid;
  /// The town.
  const char* city;
  /// What kind of place it is, in the service's words.
  const char* category;
  /// Street and number.
  const char* address;
  /// As it is written there.
  const char* phone;
  /// Its page.
  const char* web;
  /// Its mail address.
  const char* email;
  /// The postal code as a number; 0 where the service sent none.
  int64_t zip;
} brivane_place;

/// What the application hears from its manager. Calls come on two threads, perhaps at the same
/// time: the thread of completions, for what a reply brought, and the thread that created the
/// manager, for what the location service brought. Each may be NULL.
typedef struct brivane_delegate {
  /// The first argument of each function.
  void* user;
  /// Detection can be started from now on. Either thread; it may come before
  /// `brivane_manager_create` has returned.
  void (*did_is_ready)(void* user);
  /// Detection has started, but not all of it: code 1 when positions are off. From inside
  /// `brivane_manager_start_detection`.
  void (*did_error_found)(void* user, int32_t code, const char* text);
  /// About once a second for each beacon in range, and for positions. Either thread.
  void (*did_bv_match)(void* user, const brivane_match* match);
  /// The places that were asked for; NULL when there are none. The thread of completions.
  void (*did_nearest_waybeacons)(void* user, const brivane_place* places, size_t count);
  /// No call is under way and none will come: `user` may go. Exactly once for each time that a
  /// delegate was handed over, also when that failed.
  void (*release)(void* user);
} brivane_delegate;

/* ---- The manager ---- */

/// Detects the network's beacons and tells its delegate which places are near.
typedef struct brivane_manager brivane_manager;

/// A new manager whose login is on its way; NULL on failure. `delegate` may be NULL. The key and
/// the secret of the property list are used when both are NULL. What the location service has to
/// tell will come on the calling thread.
BRIVANE_C_EXPORT brivane_manager* brivane_manager_create(const brivane_delegate* delegate,
                                                         const char* key, const char* secret,
                                                         brivane_failure* failure);
/// Lets the manager go, which stops what it asked of the location service. NULL is allowed. Not
/// while another call to this manager is under way; from inside its delegate's calls it may be.
BRIVANE_C_EXPORT void brivane_manager_destroy(brivane_manager* manager);

/// NULL for none. The one before is released.
BRIVANE_C_EXPORT void brivane_manager_set_delegate(brivane_manager* manager,
                                                   const brivane_delegate* delegate);

/// Whether starting also tracks the position; false at first. Counts from the next start.
BRIVANE_C_EXPORT bool brivane_manager_enabled_gps(const brivane_manager* manager);
/// From the next start on.
BRIVANE_C_EXPORT void brivane_manager_set_enabled_gps(brivane_manager* manager, bool value);

/// False, and nothing has changed, before the session is ready or without permanent authorisation.
BRIVANE_C_EXPORT bool brivane_manager_start_detection(brivane_manager* manager);
/// Matches already on their way still arrive. Always true.
BRIVANE_C_EXPORT bool brivane_manager_stop_detection(brivane_manager* manager);
/// Whether detection was started and not stopped, whatever is in range.
BRIVANE_C_EXPORT bool brivane_manager_is_scanning(const brivane_manager* manager);

/// Asks for the places within `radius` metres of a coordinate in degrees. False when the session is
/// not ready; nothing will come then.
BRIVANE_C_EXPORT bool brivane_manager_get_nearest(brivane_manager* manager, double latitude,
                                                  double longitude, int64_t radius);
/// Whether the session is ready. The payload is not sent; both texts are ignored.
BRIVANE_C_EXPORT bool brivane_manager_set_payload(brivane_manager* manager, const char* payload,
                                                  const char* waybeacon_uuid);

/* ---- A location service of the host's own ---- */

/// The user's consent.
typedef enum brivane_authorization {
  BRIVANE_NOT_DETERMINED = 0,
  BRIVANE_RESTRICTED = 1,
  BRIVANE_DENIED = 2,
  BRIVANE_AUTHORIZED_ALWAYS = 3,
  BRIVANE_AUTHORIZED_WHEN_IN_USE = 4
} brivane_authorization;

/// What a location manager is asked for, soon after which it begins. The region is always the
/// network's: all beacons with `brivane_proximity_uuid`.
typedef enum brivane_operation {
  /// Ask the user for permanent authorisation.
  BRIVANE_REQUEST_ALWAYS_AUTHORIZATION,
  BRIVANE_START_MONITORING,
  BRIVANE_STOP_MONITORING,
  /// Answered once, later, by BRIVANE_DETERMINED_STATE.
  BRIVANE_REQUEST_STATE,
  BRIVANE_START_RANGING,
  BRIVANE_STOP_RANGING,
  /// `metres` is the accuracy.
  BRIVANE_SET_ACCURACY,
  /// `metres` is how far the device must have moved since the last position; -1 for no filter.
  BRIVANE_SET_DISTANCE_FILTER,
  BRIVANE_START_POSITIONS,
  BRIVANE_STOP_POSITIONS
} brivane_operation;

/// One beacon of a ranging report.
typedef struct brivane_beacon {
  /// 0 to 65535.
  int32_t major;
  /// 0 to 65535.
  int32_t minor;
  /// 0 unknown, 1 immediate, 2 near, 3 far.
  int32_t proximity;
  /// Estimated distance, metres; negative when unknown.
  double accuracy;
  /// dBm; 0 when there was no reading.
  int32_t rssi;
} brivane_beacon;

/// Where the device stands with respect to the network's region.
typedef enum brivane_region_state {
  BRIVANE_STATE_UNKNOWN = 0,
  BRIVANE_INSIDE = 1,
  BRIVANE_OUTSIDE = 2
} brivane_region_state;

/// Whom a location manager of the host's reports to.
typedef struct brivane_reports brivane_reports;

/// One for all managers.
struct brivane_location {
  /// The first argument of each function.
  void* user;
  /// The present authorisation. Any thread.
  brivane_authorization (*authorization)(void* user);
  /// Whether location services are on at all. Any thread.
  bool (*services_enabled)(void* user);
  /// A new manager, which reports to `reports` on the calling thread, and owns that: it gives it
  /// back to `brivane_reports_destroy`. What it returns is handed to the next two.
  void* (*create_manager)(void* user, brivane_reports* reports);
  /// Stops all that this manager began; what it still reports reaches nobody. Any thread, also from
  /// inside a report.
  void (*destroy_manager)(void* user, void* manager);
  /// Any thread.
  void (*operate)(void* user, void* manager, brivane_operation operation, double metres);
};

/// Not while a report is under way on another thread.
BRIVANE_C_EXPORT void brivane_reports_destroy(brivane_reports* reports);

// Reports, each on the thread that created the manager, never from inside `operate`.

/// Once after the manager was created, and at each change of authorisation.
BRIVANE_C_EXPORT void brivane_report_authorization(brivane_reports* reports);
/// The device entered the region, or left it; before the state that follows from it.
BRIVANE_C_EXPORT void brivane_report_crossing(brivane_reports* reports, bool entered);
/// After each crossing, and once for each state request.
BRIVANE_C_EXPORT void brivane_report_state(brivane_reports* reports, brivane_region_state state);
/// About once a second while ranging; nearest first, none when none is in range.
BRIVANE_C_EXPORT void brivane_report_beacons(brivane_reports* reports,
                                             const brivane_beacon* beacons, size_t count);
/// Degrees; `accuracy` is the radius of uncertainty in metres.
BRIVANE_C_EXPORT void brivane_report_position(brivane_reports* reports, double latitude,
                                              double longitude, double accuracy);
/// One line for a person.
BRIVANE_C_EXPORT void brivane_report_failure(brivane_reports* reports, const char* error);

/* ---- What a host may know besides ---- */

/// What keeps the radio from listening.
typedef enum brivane_radio_fault {
  BRIVANE_RADIO_NO_FAULT = 0,
  /// There is no adapter, or not the one that was asked for.
  BRIVANE_RADIO_NO_ADAPTER = 1,
  /// The adapter is switched off.
  BRIVANE_RADIO_SWITCHED_OFF = 2,
  /// The device keeps it off: its airplane mode, or a switch of its own.
  BRIVANE_RADIO_BLOCKED = 3,
  BRIVANE_RADIO_OTHER_FAULT = 4
} brivane_radio_fault;

/// Who gave an answer.
typedef enum brivane_source {
  /// The service, or nobody when the transfer failed.
  BRIVANE_FROM_SERVICE = 0,
  /// A store of what the service answered before.
  BRIVANE_FROM_STORE = 1,
  /// The library itself, in place of a service that cannot be reached.
  BRIVANE_FROM_LIBRARY = 2
} brivane_source;

/// How one request was answered.
typedef struct brivane_transfer {
  /// The path of the URL.
  const char* endpoint;
  /// That of the reply; 0 when the transfer failed.
  int status;
  /// Why it failed, for people; NULL when it did not.
  const char* fault;
  /// From the request to the end of its reply, or to the failure.
  int64_t milliseconds;
  /// Who gave the answer.
  brivane_source source;
  /// When the service gave what comes from a store, seconds since 1970; 0 elsewhere.
  int64_t kept_since;
} brivane_transfer;

/// Each may be NULL. On the thread on which managers hear of their location service, but the last
/// two.
typedef struct brivane_observer {
  /// The first argument of each function.
  void* user;
  /// Listening began or ceased, or there is a fault: `text` is one line for a person, else NULL.
  void (*on_radio)(void* user, bool listening, brivane_radio_fault fault, const char* text);
  /// The permission changed; told before the managers hear of it. `reason` is one line for a
  /// person, what is missing and what to do, and NULL when all is granted.
  void (*on_permission)(void* user, brivane_authorization authorization, bool services_enabled,
                        const char* reason);
  /// There are no positions, also while nobody has answered yet; `reason` as above.
  void (*on_no_positions)(void* user, const char* reason);
  /// How a transfer of the library's own HTTP client ended, just before its reply is used, on the
  /// thread of completions. Holds no secret.
  void (*on_transfer)(void* user, const brivane_transfer* transfer);
  /// The network is known to be away, or is back, for a host that works without one too. On the
  /// thread of completions.
  void (*on_network)(void* user, bool is_there);
} brivane_observer;

/* ---- Live listening, fed by the host ---- */

/// What the host is to hear; valid during the call.
typedef struct brivane_wanted {
  /// Proximity UUIDs, 36 characters each. None: find out whether listening would be allowed, and
  /// tell it with `brivane_live_set_radio`.
  const char* const* networks;
  /// Of `networks`.
  size_t network_count;
  /// Each frame is of use. Otherwise one frame is enough, some seconds after a beacon came in range
  /// at the latest, and the radio should cost as little as it can.
  bool every_frame;
} brivane_wanted;

/// The host's loop of events, its radio and its positions. Everything happens inside
/// `brivane_live_run`, which the host calls on one thread; managers are created on that thread.
typedef struct brivane_live_host {
  /// The first argument of each function.
  void* user;
  /// `brivane_live_run` is to be called soon, on its thread. Any thread; must not call it itself.
  void (*wake)(void* user);
  /// Microseconds on a clock that never goes back. NULL for the system's. Any thread.
  int64_t (*now)(void* user);
  /// For how many microseconds the device has slept in all while `now` stood still. NULL where that
  /// never happens.
  int64_t (*slept)(void* user);

  // Inside `brivane_live_run`, each NULL for a host that does not need it.

  /// Listen, or go on with what is wanted now.
  void (*listen)(void* user, const brivane_wanted* wanted);
  /// Nothing is wanted any more.
  void (*stop_listening)(void* user);
  /// Ask for permission, and report positions, about as fine as `accuracy` metres; again with
  /// another accuracy. NULL where there are no positions.
  void (*start_positions)(void* user, double accuracy);
  /// None are wanted any more.
  void (*stop_positions)(void* user);
} brivane_live_host;

/// NULL on failure. `observer` may be NULL.
BRIVANE_C_EXPORT brivane_live* brivane_live_create(const brivane_live_host* host,
                                                   const brivane_observer* observer,
                                                   brivane_failure* failure);
/// Gives the handle back. One that was installed goes on to serve, but nothing can be fed or run
/// any more. NULL is allowed.
BRIVANE_C_EXPORT void brivane_live_destroy(brivane_live* live);

/// Does what is to be done now, which calls delegates. Returns after how many microseconds to call
/// it again, at the latest, unless `wake` comes first; -1 for not before that. Always on one
/// thread.
BRIVANE_C_EXPORT int64_t brivane_live_run(brivane_live* live);

// What the host tells. Each only notes it and wakes: any thread, any time. What comes while nothing
// is wanted is dropped.

/// The manufacturer's part of a Bluetooth LE advertisement.
typedef struct brivane_frame {
  /// Company identifier of the Bluetooth SIG; beacons bear 0x004C.
  uint16_t company;
  /// What follows the company identifier.
  const uint8_t* data;
  /// Of `data`, bytes.
  size_t length;
  /// dBm; 127 and 0 say that there was no reading.
  int rssi;
  /// When it was heard, on the clock of `now`; negative for now.
  int64_t time;
} brivane_frame;

/// The radio heard this.
BRIVANE_C_EXPORT void brivane_live_hear(brivane_live* live, const brivane_frame* frame);
/// The device is at a coordinate in degrees, known to `accuracy` metres.
BRIVANE_C_EXPORT void brivane_live_locate(brivane_live* live, double latitude, double longitude,
                                          double accuracy);

/// How the user or the system answers the question for permission.
typedef enum brivane_consent {
  BRIVANE_CONSENT_PENDING = 0,
  BRIVANE_CONSENT_GRANTED = 1,
  BRIVANE_CONSENT_DENIED = 2,
  /// By the device's configuration, not by the user. Positions alone.
  BRIVANE_CONSENT_RESTRICTED = 3,
  /// There are none on this device, or they are off for all. Positions alone.
  BRIVANE_CONSENT_SWITCHED_OFF = 4
} brivane_consent;

/// Whether the radio listens when it is asked to, and may. `text` is one line for a person that
/// says what to do; NULL while there is no fault. Holds until something else is told.
BRIVANE_C_EXPORT void brivane_live_set_radio(brivane_live* live, bool listening,
                                             brivane_consent consent, brivane_radio_fault fault,
                                             const char* text);
/// How the question for positions was answered; `reason` is NULL when they are granted. Holds until
/// something else is told.
BRIVANE_C_EXPORT void brivane_live_set_positions(brivane_live* live, brivane_consent consent,
                                                 const char* reason);

#ifdef __cplusplus
}
#endif

#endif
