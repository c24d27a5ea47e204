/* SPDX-License-Identifier: Apache-2.0 */
/* The smallest host in C: names the places of a recorded walk.

   usage: walk CAPTURE.btsnoop INFO.plist HOST:PORT CA.pem */

#include <brivane.h>
#include <brivane_adapters.h>
#include <semaphore.h>
#include <stdio.h>

typedef struct host {
  /* Posted when the service lets this host in, and when a request fails. */
  sem_t answered;
  volatile int is_ready;
} host;

static void did_is_ready(void* user) {
  host* self = user;
  self->is_ready = 1;
  sem_post(&self->answered);
}

static void did_error_found(void* user, int32_t code, const char* text) {
  (void)user;
  fprintf(stderr, "walk: %s (%d)\n", text, (int)code);
}

static void did_bv_match(void* user, const brivane_match* match) {
  (void)user;
  if (match->waybeacon.name) puts(match->waybeacon.name);
}

/* The library tells nothing of requests that fail; its HTTP client does. */
static void on_transfer(void* user, const brivane_transfer* transfer) {
  host* self = user;
  if (transfer->status == 200) return;
  if (transfer->fault) {
    fprintf(stderr, "walk: the service: %s: %s\n", transfer->endpoint, transfer->fault);
  } else {
    fprintf(stderr, "walk: the service: %s: status %d\n", transfer->endpoint, transfer->status);
  }
  sem_post(&self->answered);
}

int main(int argc, char** argv) {
  host self = {.is_ready = 0};
  const brivane_observer observer = {.user = &self, .on_transfer = on_transfer};
  const brivane_delegate delegate = {.user = &self,
                                     .did_is_ready = did_is_ready,
                                     .did_error_found = did_error_found,
                                     .did_bv_match = did_bv_match};
  brivane_adapters_options options = {
      .application = "org.example.walk", .speed = 60.0, .observer = &observer};
  brivane_services services = {.http = NULL};
  brivane_failure failure;
  brivane_manager* manager;
  int status = 1;

  if (argc != 5) {
    fprintf(stderr, "usage: walk CAPTURE.btsnoop INFO.plist HOST:PORT CA.pem\n");
    return 2;
  }
  sem_init(&self.answered, 0, 0);
  options.capture = argv[1];
  options.info = argv[2];
  options.connect_to = argv[3];
  options.ca_file = argv[4];
  services.adapters = brivane_adapters_create(&options, &failure);
  if (!services.adapters || brivane_install(&services, &failure) != BRIVANE_OK ||
      !(manager = brivane_manager_create(&delegate, NULL, NULL, &failure))) {
    fprintf(stderr, "walk: %s\n", failure.text);
    return 2;
  }
  sem_wait(&self.answered);
  if (self.is_ready && brivane_manager_start_detection(manager)) {
    status = brivane_adapters_replay(services.adapters, &failure) == BRIVANE_OK ? 0 : 1;
    if (status != 0) fprintf(stderr, "walk: %s\n", failure.text);
    brivane_manager_stop_detection(manager);
  }
  brivane_adapters_shutdown(services.adapters);
  brivane_manager_destroy(manager);
  return status;
}
