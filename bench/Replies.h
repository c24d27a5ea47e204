// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

/// Replies of the service, as long as it sends them.
namespace bench {

/// To a resolve of the i-th beacon.
inline std::string resolveReply(int i) {
  const std::string number = std::to_string(i);
  return R"({"status":true,"beacon":{"match":"old-town-)" + number +
         R"(","rssi":-60,"proximity":"near","waybeacon":{"uuid":"old-town-)" + number +
         R"(","name":"Panadería La Espiga )" + number +
         R"(","location":"Junto a la puerta, a la izquierda",)"
         R"("accesibility":"Un escalón de 12 cm; el timbre está a la altura de la mano derecha.",)"
         R"("url":"https://old-town.example/)" +
         number + R"(","latitude":41.65219,"longitude":-4.727923,"payload":{"floor":0}}}})";
}

/// To a search for the nearest places.
inline std::string nearestReply(int places) {
  std::string reply = R"({"beacons":[)";
  for (int i = 0; i < places; ++i) {
    const std::string number = std::to_string(i);
    if (i > 0) reply += ',';
    reply += R"({"distance":)" + number + R"(.416,"local":{"name":"Panadería La Espiga )" + number +
             R"(","city":"Villavieja de la Peña","category":"comercio",)"
             R"("address":"Calle del Puente, )" +
             number + R"(","phone":"+34 983 555 002","web":"https://old-town.example/",)" +
             R"("email":"lugar)" + number + R"(@old-town.example","zip":47001}})";
  }
  return reply + "]}";
}

}  // namespace bench
