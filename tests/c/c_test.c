/* SPDX-License-Identifier: Apache-2.0 */
/* A host in C, on services of its own: "live" feeds frames and positions, "own" reports as a location service of the
   platform would. */
#define _POSIX_C_SOURCE 200809L
#include <brivane.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#define CHECK(condition) \
  ((condition) ? (void)0 : (printf("%s:%d: %s; seen: %s\n", __FILE__, __LINE__, #condition, seen), exit(1)))

/* What was called, word by word, under a lock, as two threads call. */
static char seen[4000];
static pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
static pthread_cond_t changed = PTHREAD_COND_INITIALIZER;
static void see(const char* what, const char* text) {
  pthread_mutex_lock(&mutex);
  snprintf(seen + strlen(seen), sizeof seen - strlen(seen), " %s%s", what, text ? text : "NULL");
  pthread_cond_broadcast(&changed);
  pthread_mutex_unlock(&mutex);
}
static void wait_for(const char* what) {
  pthread_mutex_lock(&mutex);
  while (!strstr(seen, what)) pthread_cond_wait(&changed, &mutex); /* for ever: the test's own limit ends it */
  pthread_mutex_unlock(&mutex);
}

static void* const user = seen; /* each callback gets it back */
static bool nearest_fails = true;
static const char* usage = NULL;
static char installation[64];

static const char reply[] =
    "{\"access_token\":\"t\",\"status\":true,\"match\":\"m\",\"waybeacon\":{\"name\":\"caf\xc3\xa9\",\"url\":null,"
    "\"latitude\":\"41.5\",\"payload\":{\"a\":[1]}},\"beacons\":[{\"distance\":2.5,\"local\":{\"name\":\"n\"}}]}";
static void execute(void* u, const brivane_request* request, brivane_completion* completion) {
  CHECK(u == user && strstr(request->url, brivane_api_host()) && !strcmp(request->method, "POST"));
  CHECK(request->header_count > 0 && request->body_length == strlen(request->body));
  if (nearest_fails && strstr(request->url, "nearest")) {
    nearest_fails = false;
    see("failed", "");
    brivane_complete_failed(completion);
  } else {
    brivane_complete(completion, 200, reply, strlen(reply));
  }
}

/* A parser that knows one text; at times it stops before the end. */
static bool stops_early = false;
static bool read_json(void* u, const char* bytes, size_t length, brivane_json_value* to) {
  CHECK(u == user && length == strlen(reply) && !memcmp(bytes, reply, length));
  brivane_json_begin_object(to);
  brivane_json_key(to, "access_token"), brivane_json_text(to, "t");
  brivane_json_key(to, "status"), brivane_json_boolean(to, true);
  brivane_json_key(to, "match"), brivane_json_text(to, "m");
  brivane_json_key(to, "waybeacon"), brivane_json_begin_object(to);
  brivane_json_key(to, "name"), brivane_json_text(to, "caf\xc3\xa9");
  brivane_json_key(to, "url"), brivane_json_null(to);
  brivane_json_key(to, "latitude"), brivane_json_text(to, "41.5");
  brivane_json_key(to, "payload"), brivane_json_begin_object(to);
  brivane_json_key(to, "a"), brivane_json_begin_list(to), brivane_json_integer(to, 1), brivane_json_end(to);
  brivane_json_end(to);
  brivane_json_end(to);
  brivane_json_key(to, "beacons"), brivane_json_begin_list(to), brivane_json_begin_object(to);
  brivane_json_key(to, "distance"), brivane_json_real(to, 2.5);
  brivane_json_key(to, "local"), brivane_json_begin_object(to);
  brivane_json_key(to, "name"), brivane_json_text(to, "n"), brivane_json_end(to);
  brivane_json_end(to), brivane_json_end(to);
  if (!stops_early) brivane_json_end(to);
  return true;
}

static void get_preference(void* u, const char* key, brivane_text* value) {
  (void)u, (void)key;
  brivane_text_set(value, *installation ? installation : NULL);
}
static void set_preference(void* u, const char* key, const char* value) {
  (void)u, (void)key;
  snprintf(installation, sizeof installation, "%s", value);
}
static bool synchronize(void* u) { return u == user; }
static void get_property(void* u, const char* key, brivane_text* value) {
  (void)u;
  if (strstr(key, "Usage")) brivane_text_set(value, usage);
}
static void write_log(void* u, const char* line) {
  if (strstr(line, "REGION IN")) see("log:", u == user ? "in" : "");
  if (strstr(line, "Error parsing JSON")) see("log:", "no JSON");
}

static void did_is_ready(void* u) { see("ready", u == user ? "" : "?"); }
static void did_error_found(void* u, int32_t code, const char* text) {
  see(u == user && code == 1 ? "error:" : "", text);
}
static void did_bv_match(void* u, const brivane_match* match) {
  CHECK(u == user && match->waybeacon.latitude == 41.5 && !match->waybeacon.url && !match->proximity);
  CHECK(!strcmp(match->waybeacon.name, "caf\xc3\xa9") && !strcmp(match->waybeacon.payload, "{\"a\":[1]}"));
  see("match:", match->uuid);
}
static void did_nearest(void* u, const brivane_place* places, size_t count) {
  CHECK(u == user && count == 1 && places[0].distance == 2.5 && !places[0].city);
  see("nearest:", places[0].name);
}
static void release(void* u) { see("release", u == user ? "" : "?"); }

/* A location service of the host's own. */
static brivane_reports* reports;
static brivane_authorization authorization(void* u) { return u == user ? BRIVANE_AUTHORIZED_ALWAYS : BRIVANE_DENIED; }
static bool services_enabled(void* u) { return u != user; }
static void* create_manager(void* u, brivane_reports* to) {
  reports = to;
  return u == user ? &reports : NULL;
}
static void destroy_manager(void* u, void* manager) { see("gone", u == user && manager == &reports ? "" : "?"); }
static void operate(void* u, void* manager, brivane_operation operation, double metres) {
  char text[40];
  snprintf(text, sizeof text, "%d/%g", operation, metres);
  see(u == user && manager == &reports ? "op:" : "", text);
}

/* A clock, a radio and positions for the library's. */
static int64_t present = 1000000;
static int wakes;
static void wake(void* u) { wakes += u == user; }
static int64_t now(void* u) { return u == user ? present : -1; }
static void listen(void* u, const brivane_wanted* wanted) {
  see(u == user ? "listen:" : "", wanted->network_count ? wanted->networks[0] : "");
}
static void stop_listening(void* u) { see("deaf", u == user ? "" : "?"); }
static void start_positions(void* u, double accuracy) { see("positions", u == user && accuracy == 10.0 ? "" : "?"); }
static void on_radio(void* u, bool listening, brivane_radio_fault fault, const char* text) {
  see(u == user && listening && fault == BRIVANE_RADIO_NO_FAULT ? "radio:" : "", text);
}
static void on_permission(void* u, brivane_authorization status, bool enabled, const char* reason) {
  if (u == user && status == BRIVANE_AUTHORIZED_ALWAYS && !enabled) see("permission:", reason);
}
/* Lets a time pass, and hears a beacon all the while. */
static void pass(brivane_live* live, int tenths) {
  static const uint8_t tail[] = {0, 1, 0, 2, 0xC5};
  uint8_t data[23] = {0x02, 0x15};
  brivane_frame frame = {0x004C, data, sizeof data, -60, -1};
  const char* text = brivane_proximity_uuid();
  int at, i;
  for (at = 2, i = 0; text[i]; i += 2) {
    char digits[3] = {0, 0, 0};
    if (text[i] == '-') ++i;
    memcpy(digits, text + i, 2);
    data[at++] = (uint8_t)strtoul(digits, NULL, 16);
  }
  memcpy(data + at, tail, sizeof tail);
  for (i = 0; i < tenths; ++i) {
    present += 100000;
    brivane_live_hear(live, &frame);
    while (brivane_live_run(live) == 0) {
    }
  }
}

int main(int argc, char** argv) {
  const bool own = argc > 1 && !strcmp(argv[1], "own");
  const brivane_http http = {user, execute};
  const brivane_preferences preferences = {user, get_preference, set_preference, synchronize};
  const brivane_property_list property_list = {user, get_property};
  const brivane_log sink = {user, write_log};
  const brivane_json json = {user, read_json};
  const brivane_location location = {user, authorization, services_enabled, create_manager, destroy_manager, operate};
  const brivane_live_host host = {user, wake, now, NULL, listen, stop_listening, start_positions, NULL};
  const brivane_observer observer = {user, on_radio, on_permission, NULL, NULL, NULL};
  const brivane_delegate delegate = {user, did_is_ready, did_error_found, did_bv_match, did_nearest, release};
  brivane_live* live = own ? NULL : brivane_live_create(&host, &observer, NULL);
  brivane_services services = {NULL,  &preferences, &property_list,     NULL, live,
                               &sink, "model",      own ? &json : NULL, NULL};
  brivane_failure failure = {BRIVANE_OK, ""};
  brivane_manager* manager;
  char identifier[37];

  if (own) services.location = &location;
  CHECK(!brivane_manager_create(&delegate, "k", "s", &failure) && failure.status == BRIVANE_WRONG_STATE);
  CHECK(brivane_install(&services, &failure) == BRIVANE_INVALID_ARGUMENT && !strcmp(failure.text, "http is missing"));
  services.http = &http;
  CHECK(brivane_install(&services, NULL) == BRIVANE_OK && brivane_install(&services, NULL) == BRIVANE_WRONG_STATE);
  CHECK(!brivane_manager_create(&delegate, NULL, NULL, &failure) && failure.status == BRIVANE_CREDENTIALS_NOT_FOUND);
  CHECK(!brivane_manager_create(&delegate, "k", NULL, &failure) && failure.status == BRIVANE_INVALID_ARGUMENT);
  CHECK(!brivane_manager_create(&delegate, "k", "s", &failure) && failure.status == BRIVANE_LOCATION_AUTH_ERROR);
  CHECK(!strcmp(seen, " release release release release") && strstr(failure.text, "UsageDescription"));
  usage = "to help";
  *seen = '\0';

  manager = brivane_manager_create(&delegate, "k", "s", &failure);
  CHECK(manager && !brivane_manager_is_scanning(manager));
  if (live) {
    pass(live, 1);
    wait_for("listen: ");
    brivane_live_set_radio(live, true, BRIVANE_CONSENT_GRANTED, BRIVANE_RADIO_NO_FAULT, NULL);
    brivane_live_set_positions(live, BRIVANE_CONSENT_SWITCHED_OFF, "off");
    pass(live, 1);
    wait_for("radio:NULL");
    wait_for("permission:off");
  }
  wait_for("ready");
  brivane_manager_set_enabled_gps(manager, true);
  CHECK(brivane_manager_enabled_gps(manager) && brivane_manager_start_detection(manager));
  CHECK(brivane_manager_is_scanning(manager));
  wait_for("error:No location services enabled");
  if (live) {
    pass(live, 30);
    CHECK(wakes > 0);
    wait_for(brivane_proximity_uuid());
  } else {
    const brivane_beacon beacons[] = {{1, 2, 3, 4.0, -60}};
    brivane_report_crossing(reports, true);
    brivane_report_state(reports, BRIVANE_INSIDE);
    brivane_report_beacons(reports, beacons, 1);
    wait_for("op:0/0");
    wait_for("op:1/0 op:3/0 error:No location services enabled log:in op:4/0");
  }
  wait_for("match:m");
  CHECK(brivane_manager_get_nearest(manager, 41.5, -4.7, 100));
  wait_for("failed");
  CHECK(brivane_manager_get_nearest(manager, 41.5, -4.7, 100) && brivane_manager_set_payload(manager, "{}", "u"));
  wait_for("nearest:n");
  if (own) {
    stops_early = true;
    CHECK(brivane_manager_get_nearest(manager, 41.5, -4.7, 100));
    wait_for("log:no JSON");
  }
  CHECK(brivane_installation_id(identifier) && !strcmp(identifier, installation));
  CHECK(brivane_manager_stop_detection(manager) && !brivane_manager_is_scanning(manager));
  brivane_manager_destroy(manager);
  if (live) {
    while (brivane_live_run(live) == 0) {
    }
    wait_for("deaf");
  } else {
    wait_for("gone");
    brivane_report_beacons(reports, NULL, 0); /* reaches nobody */
    brivane_reports_destroy(reports);
  }
  wait_for("release");
  brivane_live_destroy(live);
  return 0;
}
