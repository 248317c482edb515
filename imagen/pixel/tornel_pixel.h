#pragma once
// The companion pixel library, libtornel.so: plain C functions over caller-owned buffers. Stateless,
// no allocation, one pass over the image each.
//
// Buffers, x running fastest:
//   imagen  signed 16-bit, W x H, element (1, 1) first: the raw image as read.
//   brillo  signed 16-bit, (W + 1) x (H + 1), element (0, 0) first; row 0 and column 0 are margins
//           that the functions set to 0.
//   visu    unsigned 8-bit grey, rows of W rounded up to a multiple of 4, H rows.
//   pixeles 32-bit 0x00RRGGBB (blue in the lowest byte), W x H.
// Row y = 1 is the first row of the file; with invertida = 1 it is the last one, which mirrors the
// image top to bottom.
//
// Brightness scale: FITS values as read, negative ones counted as 0. Unsigned FITS data (BZERO 32768,
// 0 to 65535) is kept as it is below 16384 and compressed by 3 above, so that it fits signed 16 bits
// in the same order. BMP and JPG pixels give R + G + B (0 to 765).
#include <stdint.h>

#if defined(__GNUC__)
#define TORNEL_PIXEL_API __attribute__((visibility("default")))
#else
#define TORNEL_PIXEL_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

// A screen pair of selected stars tied to a catalogue pair: 16 bytes, with two bytes of padding after
// each 16-bit field.
typedef struct Segmento {
    int16_t Pantalla1;  // first selected star, 1 to 10
    int32_t Catalogo1;  // catalogue star matched to it
    int16_t Pantalla2;  // second selected star, above Pantalla1
    int32_t Catalogo2;
} Segmento;

// A three-star figure or a polygon: 244 bytes. Lados cell (i, j), i below j, lies at
// (i - 1) + 10 (j - 1): 0 no side, 1 the side was fished, 2 it was checked against the catalogue.
// Estrellas[k - 1] is the catalogue star of selected star k, 0 when k is not in the figure.
typedef struct Poligono {
    int16_t Lados[100];
    int32_t Estrellas[10];
    int32_t NumLados;
} Poligono;

// Version of the library read as a date, day month year: 150906 is 15/09/06.
TORNEL_PIXEL_API int32_t version(void);

// Reads ancho x alto big-endian signed 16-bit values from byte `desplazamiento` of the FITS file
// `ruta` into `imagen`. Answers 0 on success; 1 the file cannot be opened, 2 it ends before the
// data does, 3 a bad argument (size below 1, negative offset, null pointer).
TORNEL_PIXEL_API int32_t lee_fit_2(const char* ruta, int32_t desplazamiento, int16_t ancho, int16_t alto,
                                   int16_t* imagen, int16_t invertida);
// The same for unsigned data stored with BZERO 32768: u = v + 32768 is kept below 16384 and becomes
// 16384 + (u - 16384) / 3 above.
TORNEL_PIXEL_API int32_t lee_fit_con_signo_2(const char* ruta, int32_t desplazamiento, int16_t ancho,
                                             int16_t alto, int16_t* imagen, int16_t invertida);

// Brightness of a FITS image into `brillo` (margins set to 0); answers the greatest brightness.
TORNEL_PIXEL_API int16_t fit_a_brillo(const int16_t* imagen, int16_t* brillo, int16_t ancho, int16_t alto);
// Grey levels for the screen: (value - negro) x factor, limited to 0..255. Padding bytes are 0.
TORNEL_PIXEL_API void fit_a_visu8(const int16_t* imagen, uint8_t* visu, int16_t ancho, int16_t alto,
                                  double factor, double negro);

// Brightness of a BMP or JPG picture into `brillo` (margins set to 0); answers the greatest one.
TORNEL_PIXEL_API int16_t bmp32_a_brillo(const uint32_t* pixeles, int16_t* brillo, int16_t ancho,
                                        int16_t alto);
// The display mapping of fit_a_visu8 applied to each colour channel.
TORNEL_PIXEL_API void bmp32_a_visu32(const uint32_t* pixeles, uint32_t* visu, int16_t ancho, int16_t alto,
                                     double factor, double negro);

// Three-stars from segments: every two segments (in this order) that share one selected star with
// one catalogue star, and differ both in the other selected star and in the other catalogue star,
// make a figure of three stars with their two sides. A figure with the same stars as an earlier one
// is not written again: its sides are added to the earlier one's. `tresEstrellas` holds
// 2 x numSegmentos zeroed records; `numEstrellas` is the number of selected stars. Answers the
// number of figures written, or -1 when they would not fit.
TORNEL_PIXEL_API int16_t construye_3_estrellas(const Segmento* segmentos, int16_t numSegmentos,
                                               Poligono* tresEstrellas, int16_t numEstrellas);

#ifdef __cplusplus
}
#endif
