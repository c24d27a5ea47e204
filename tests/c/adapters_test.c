/* SPDX-License-Identifier: Apache-2.0 */
/* A host in C on the library's own services, without a network: it is ready with what was kept, and told so.

   usage: adapters_test CAPTURE.btsnoop INFO.plist */
#define _POSIX_C_SOURCE 200809L
#include <brivane.h>
#include <brivane_adapters.h>
#include <semaphore.h>
#include <stdio.h>
#include <string.h>

static sem_t ready;
static bool from_library = false;

static void did_is_ready(void* user) {
  (void)user;
  sem_post(&ready);
}
static void on_transfer(void* user, const brivane_transfer* transfer) {
  from_library = user == &ready && strstr(transfer->endpoint, "/") == transfer->endpoint && transfer->status == 200 &&
                 !transfer->fault && transfer->source == BRIVANE_FROM_LIBRARY && transfer->kept_since == 0;
}

int main(int argc, char** argv) {
  const brivane_observer observer = {.user = &ready, .on_transfer = on_transfer};
  const brivane_delegate delegate = {.did_is_ready = did_is_ready};
  const brivane_adapters_options options = {.info = argv[argc - 1],
                                            .application = "org.example.adapters-test",
                                            .capture = argv[1],
                                            .connect_to = "127.0.0.1:1",
                                            .offline = true,
                                            .observer = &observer};
  brivane_failure failure = {BRIVANE_OK, ""};
  brivane_adapters* adapters = brivane_adapters_create(&options, &failure);
  const brivane_services services = {.adapters = adapters};
  brivane_manager* manager = NULL;

  sem_init(&ready, 0, 0);
  if (!adapters || brivane_install(&services, &failure) != BRIVANE_OK ||
      !(manager = brivane_manager_create(&delegate, NULL, NULL, &failure))) {
    printf("%s\n", failure.text);
    return 1;
  }
  sem_wait(&ready); /* for ever: the test's own limit ends it */
  brivane_adapters_shutdown(adapters);
  brivane_manager_destroy(manager);
  if (!from_library) printf("no transfer was told as the library's own answer\n");
  return from_library ? 0 : 1;
}
