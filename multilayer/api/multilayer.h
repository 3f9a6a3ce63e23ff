/* multilayer: calibration of LED display walls. The C interface, and its manual.
 *
 * No two LEDs are alike. A calibration application photographs the lit wall at several gray levels
 * (the capture layers) and turns the photographs into measurements of every LED. This library
 * computes from them, for every LED, primary and coefficient layer, the coefficient with which the
 * display controller shows an even picture from dark to bright: drive = coefficient x nominal
 * drive, 1.0 = no correction.
 *
 * ORDER OF CALLS
 *   1. MultiLayerCreateHandle
 *   2. Luminance, each primary on its own: MultiLayerSetParamLum, MultiLayerComputeLum.
 *      White, the three primaries together: MultiLayerSetParamWhite, optionally
 *        MultiLayerSetRGBXYZ, MultiLayerComputeWhite, any number of MultiLayerComputeWhiteSingle.
 *      Or, instead of both, an earlier result: MultiLayerLoad or MultiLayerFromBuffer.
 *   3. MultiLayerGet, MultiLayerSave, MultiLayerToBuffer or MultiLayerExportToImge
 *   4. MultiLayerRelease frees results and parameters; the handle can be used again from step 2
 *   5. MultiLayerDestroyHandle
 *
 * CONVENTIONS
 *   Status. Every function but MultiLayerDestroyHandle returns one of MultiLayerStatus, 0 for
 *     success. What a function refuses before it reaches the engine (a null argument, a bad
 *     descriptor, a wrong count) leaves everything as it was and is not logged; what the engine
 *     refuses is logged in one line through the logging library (pellix/pellix.h).
 *   Colours stand in the order red, green, blue. Per-LED matrices have the rows and columns of the
 *     partition, stored row after row.
 *   Units. Measurements are CIE X, Y, Z with Y in cd/m^2 (any linear unit will do, as long as
 *     rgb_to_y and the target white use it too); drives and ratios are fractions of full scale;
 *     gray levels are columns of the gamma table; positions are 0 .. 2^bit_width - 1.
 *   Ownership. What you pass in stays yours. Matrices and lists are copied, measurements are read
 *     during the call only; the sole exceptions are rgb_to_xyz and target_white
 *     (MultiLayerSetParamWhite) and the planes of MultiLayerSetRGBXYZ.
 *   Threads. Nothing is locked and nothing is shared: different handles may be used by different
 *     threads at the same time, one handle by one thread at a time. The library starts no threads.
 *   Exceptions never cross this interface. When memory runs out, the status is
 *     MULTILAYER_REJECTED, one line is logged, and the handle can be used further.
 *   Strings are NUL-terminated and are passed to the operating system unchanged.
 *
 * Needs nothing but <stdint.h>; compiles as C99 and as C++.
 */
#ifndef MULTILAYER_API_MULTILAYER_H
#define MULTILAYER_API_MULTILAYER_H

#include <stdint.h>

#if defined(__GNUC__)
#define MULTILAYER_EXPORT __attribute__((visibility("default")))
#else
#define MULTILAYER_EXPORT
#endif

/* A measurement: one channel of every LED of a partition, for one primary at one gray layer. It is
 * the C++ record of multilayer/meter/led_meter.h; to C it is opaque. */
#ifdef __cplusplus
namespace multilayer {
struct LedMeter;
}
typedef multilayer::LedMeter MultiLayerLedMeter;
extern "C" {
#else
typedef struct MultiLayerLedMeter MultiLayerLedMeter;
#endif

/* What the functions return. Functions return int32_t; the enumeration only names the values. */
enum MultiLayerStatus {
  MULTILAYER_OK = 0,
  MULTILAYER_NULL = 1,             /* a required pointer is null, or a bundle's count is not 3 */
  MULTILAYER_CANNOT_READ = 2,      /* the file cannot be opened for reading */
  MULTILAYER_VERSION = 3,          /* the file or buffer has another format version */
  MULTILAYER_CANNOT_WRITE = 4,     /* the file cannot be opened for writing */
  MULTILAYER_NOTHING = 5,          /* there are no coefficients to work on */
  MULTILAYER_BAD_MAT = 7,          /* a MultiLayerMat contradicts itself */
  MULTILAYER_EXTENSION = 8,        /* the file name does not end with ".mlcoefs" */
  MULTILAYER_REJECTED = 9,         /* a parameter, a measurement or a file's contents are refused,
                                      or memory has run out */
  MULTILAYER_BYTE_ORDER = 10,      /* the buffer does not begin with the byte-order mark */
  MULTILAYER_EMPTY = 12,           /* a measurement's matrix that must hold data is empty */
  MULTILAYER_TOO_SMALL = 13,       /* the buffer is smaller than what would be written */
  MULTILAYER_LAYER_COUNT = 701,    /* not one measurement a colour and captured layer */
  MULTILAYER_LAYER_VALUE = 702,    /* the colours' layers differ */
  MULTILAYER_NO_IMAGES = 703,      /* images requested without coefficients */
  MULTILAYER_MAX_ITERATIONS = 705, /* every iteration step has been done */
  MULTILAYER_NO_PARAMETERS = 706,  /* computation before parameters, or single white before white */
  MULTILAYER_NO_SUCH_LAYER = 707   /* the gray level is not among the captured ones */
};

/* One engine. */
typedef void* MultiLayerHandle;

/* A matrix, rows stored one after another without gaps. 24 bytes.
 *
 * As an argument: size must be rows x cols x channels x bytes of the depth, and data must point to
 * that many bytes, which are copied. Null data with rows, cols and size all 0 (or rows and cols
 * negative) is an empty matrix. Anything else is MULTILAYER_BAD_MAT.
 * As a result (MultiLayerGet): see there for who owns data. */
typedef struct MultiLayerMat {
  int32_t rows;
  int32_t cols;
  int32_t type; /* depth + (channels - 1) * 8; depth 0 uint8, 1 int8, 2 uint16, 3 int16, 4 int32,
                   5 float, 6 double */
  int32_t size; /* bytes at data */
  void* data;
} MultiLayerMat;

/* What MultiLayerGet fills. 112 bytes. The caller owns the record and the three arrays. */
typedef struct MultiLayerResult {
  int32_t part_x; /* the measured partition on the screen, in LEDs; -1 before a computation */
  int32_t part_y;
  int32_t part_w;
  int32_t part_h;
  int32_t screen_w; /* the whole screen, in LEDs */
  int32_t screen_h;
  int32_t capture_layer_num;   /* captured gray layers; -1 when unset */
  int32_t bit_width;           /* of the positions, 16..24; -1 or 0 when unset */
  double rgb_lum_dec_ratio[3]; /* as set; 0 when unset */
  MultiLayerMat pos_hardware;  /* int32 (type 4), 3 x coef_layer_num: position of each layer */
  MultiLayerMat* coef_r; /* in: null, or room for coef_layer_num descriptors; out: one a layer, */
  MultiLayerMat* coef_g; /* float (type 5), part_h x part_w */
  MultiLayerMat* coef_b;
  int32_t coef_layer_num; /* coefficient layers; -1 when unset */
} MultiLayerResult;

/* Makes an engine.
 * out: where its handle goes; not null. Statuses: 0, MULTILAYER_NULL. *out is null when memory has
 * run out, with status 0. */
MULTILAYER_EXPORT int32_t MultiLayerCreateHandle(MultiLayerHandle* out);

/* Does nothing, for any value: an engine lives as long as the process. Call MultiLayerRelease first
 * to get the memory of its results back; what remains is under two kilobytes. */
MULTILAYER_EXPORT void MultiLayerDestroyHandle(MultiLayerHandle handle);

/* Sets the parameters of luminance mode.
 *   gamma_table          int32 (type 4), 3 rows (R, G, B) x at least 256 columns: column = gray
 *                        level, value = linear output; its largest value gives the table's bit
 *                        depth. The red row sets the layer positions of all colours.
 *   rgb_lum_dec_ratio    3 doubles: the fraction by which each colour's target luminance is lowered
 *                        below full scale, so that weaker LEDs reach it; 0 = not lowered.
 *   rgb_to_y             9 floats, a 3 x 3 matrix by rows: the first of each row is the full-scale
 *                        luminance of that colour, and must be positive; the others are not used.
 *   capture_layers       capture_layer_count gray levels (1 to coef_layer_num of them). With
 *                        iterate -1 ascending; otherwise in the order in which they will be shown.
 *   iterate              -1: one computation from all layers (Norm). Otherwise one layer at a time,
 *                        starting at this step (0 for a new run).
 *   coef_layer_num       coefficient layers to compute, 1 to 16384; those beyond the captured ones
 *                        follow one position apart.
 *   bit_width            of the positions, 16 to 24.
 * Everything is copied. Statuses: 0, MULTILAYER_NULL, MULTILAYER_BAD_MAT, MULTILAYER_REJECTED.
 * Afterwards: the layer positions are set; earlier coefficients are kept until the next
 * computation. After MULTILAYER_REJECTED the engine has no parameters. */
MULTILAYER_EXPORT int32_t MultiLayerSetParamLum(MultiLayerHandle handle,
                                                const MultiLayerMat* gamma_table,
                                                const double* rgb_lum_dec_ratio,
                                                const float* rgb_to_y, const int* capture_layers,
                                                int capture_layer_count, int iterate,
                                                int coef_layer_num, int bit_width);

/* Sets the parameters of white mode. Note that coef_layer_num and iterate stand the other way round
 * than in MultiLayerSetParamLum.
 *   gamma_table, capture_layers, capture_layer_count, coef_layer_num, bit_width   as there;
 *                        capture_layers must not be null, in the order in which they will be shown.
 *   rgb_to_xyz           9 floats: X, Y, Z of the red, the green and the blue primary at full
 *                        scale. Not copied: must stay valid until the last white computation.
 *   target_white         3 floats: X, Y, Z of the white to reach at full scale. Not copied.
 *   iterate              the step to start at; 0 for a new run.
 * Statuses and the state afterwards: as MultiLayerSetParamLum. */
MULTILAYER_EXPORT int32_t MultiLayerSetParamWhite(MultiLayerHandle handle,
                                                  const MultiLayerMat* gamma_table,
                                                  const float* rgb_to_xyz, const void* target_white,
                                                  const int* capture_layers,
                                                  int capture_layer_count, int coef_layer_num,
                                                  int iterate, int bit_width);

/* Gives white mode the measured primaries of every LED, used instead of rgb_to_xyz.
 *   red, green, blue     arrays of 3 measurements each: CIE X, Y, Z of that primary. red[2] may be
 *                        null (its Z is taken as 0).
 *   count                3.
 * The measured planes are shared, not copied: the records may be destroyed, their planes must not
 * be changed before the last white computation.
 * Statuses: 0, MULTILAYER_NULL, MULTILAYER_REJECTED, MULTILAYER_EMPTY. */
MULTILAYER_EXPORT int32_t MultiLayerSetRGBXYZ(MultiLayerHandle handle, MultiLayerLedMeter** red,
                                              MultiLayerLedMeter** green, MultiLayerLedMeter** blue,
                                              int count);

/* Computes luminance coefficients.
 *   red, green, blue     arrays of count measurements each. Norm: entry i belongs to capture layer
 *                        i, count is the number of captured layers, at least 2. Iteration: one
 *                        measurement a colour, of the layer just shown.
 *   Each record: part, layer, chroma (float, part h x w) and state (uint8, part h x w; bit 0 marks
 *   an LED that is not corrected, bit 1 one whose measurement the iteration may use).
 * Statuses: 0, MULTILAYER_NULL, MULTILAYER_REJECTED, MULTILAYER_EMPTY, MULTILAYER_LAYER_COUNT,
 * MULTILAYER_LAYER_VALUE, MULTILAYER_MAX_ITERATIONS, MULTILAYER_NO_PARAMETERS.
 * Afterwards: coef_layer_num matrices a colour; an LED that is flagged or whose measurements do not
 * rise from layer to layer has 1.0 everywhere. After a refusal earlier coefficients are kept. */
MULTILAYER_EXPORT int32_t MultiLayerComputeLum(MultiLayerHandle handle, MultiLayerLedMeter** red,
                                               MultiLayerLedMeter** green,
                                               MultiLayerLedMeter** blue, int count);

/* One step of the white computation.
 *   meters               array of 3 measurements: CIE X, Y, Z of the white just shown through the
 *                        current coefficients, brought to full scale. meters[0] has its part.
 *   count                3.
 * Statuses: 0, MULTILAYER_NULL, MULTILAYER_REJECTED, MULTILAYER_EMPTY, MULTILAYER_MAX_ITERATIONS,
 * MULTILAYER_NO_PARAMETERS (the last setter was refused, or a run goes on without its
 * coefficients).
 * Afterwards: one more step is done; the first sets all layers, later ones correct those that
 * docs/numerics.md names. After a refusal earlier coefficients are kept. An invalid white, a null
 * target_white and a null rgb_to_xyz are refused without a log line. */
MULTILAYER_EXPORT int32_t MultiLayerComputeWhite(MultiLayerHandle handle,
                                                 MultiLayerLedMeter** meters, int count);

/* Corrects the white of one captured layer after a computation.
 *   meters, count        as MultiLayerComputeWhite.
 *   layer                the captured gray level.
 * Statuses: 0, MULTILAYER_NULL, MULTILAYER_REJECTED, MULTILAYER_EMPTY, MULTILAYER_NO_PARAMETERS,
 * MULTILAYER_NO_SUCH_LAYER. */
MULTILAYER_EXPORT int32_t MultiLayerComputeWhiteSingle(MultiLayerHandle handle,
                                                       MultiLayerLedMeter** meters, int count,
                                                       int layer);

/* Reads the result.
 *   out                  the record to fill, with coef_r, coef_g and coef_b set by the caller: each
 *                        null (it is skipped, so that a first call can ask for coef_layer_num) or
 *                        an array of coef_layer_num descriptors.
 *   copy                 0 or less: data points into the engine, valid until the next call that
 *                        changes it. 1 or more: data is a copy from malloc, yours to free().
 * A matrix that does not exist (yet) has a descriptor of zeros and null data.
 * Statuses: 0, MULTILAYER_NULL; MULTILAYER_REJECTED when memory for copies has run out, or a loaded
 * matrix is larger than an int32 of bytes (then no descriptor holds data). */
MULTILAYER_EXPORT int32_t MultiLayerGet(MultiLayerHandle handle, MultiLayerResult* out, int copy);

/* Brings the engine back to its constructed state and frees all it holds. The handle stays usable.
 * Statuses: 0, MULTILAYER_NULL. */
MULTILAYER_EXPORT int32_t MultiLayerRelease(MultiLayerHandle handle);

/* Writes every coefficient matrix as an 8-bit PNG in which the largest coefficient is white.
 *   directory            put before the names as it is: end it with "/". The files are
 *                        MLCoef_Red_Layer_0.png, MLCoef_Green_Layer_0.png, ...
 * Statuses: 0 (also when a file could not be written), MULTILAYER_NULL, MULTILAYER_NOTHING. */
MULTILAYER_EXPORT int32_t MultiLayerExportToImge(MultiLayerHandle handle, const char* directory);

/* Writes the coefficients to a file, replacing an earlier one.
 *   path                 ends with ".mlcoefs".
 * Statuses: 0, MULTILAYER_NULL, MULTILAYER_NOTHING, MULTILAYER_EXTENSION, MULTILAYER_CANNOT_WRITE.
 * A write that fails after the file was opened (disk full) is not reported: compare the file's
 * length with MultiLayerGetBufferSize. */
MULTILAYER_EXPORT int32_t MultiLayerSave(MultiLayerHandle handle, const char* path);

/* Reads coefficients from a file.
 *   path                 ends with ".mlcoefs".
 * Statuses: 0, MULTILAYER_NULL, MULTILAYER_EXTENSION, MULTILAYER_CANNOT_READ, MULTILAYER_VERSION,
 * MULTILAYER_REJECTED. A file that does not begin with the byte-order mark gives 0 and changes
 * nothing; one that ends early gives 0, with 0 for what is missing and a line in the log.
 * Afterwards: partition, layer counts, bit width, ratios, positions and coefficients are those of
 * the file. Capture layers and the other parameters are not stored in files. */
MULTILAYER_EXPORT int32_t MultiLayerLoad(MultiLayerHandle handle, const char* path);

/* Writes the bytes that MultiLayerSave would write to memory.
 *   buffer               *size bytes.
 *   size                 in: the capacity; out: the bytes written.
 * Statuses: 0, MULTILAYER_NULL, MULTILAYER_TOO_SMALL (buffer and *size are untouched). */
MULTILAYER_EXPORT int32_t MultiLayerToBuffer(MultiLayerHandle handle, uint8_t* buffer,
                                             uint64_t* size);

/* Reads coefficients from memory.
 *   buffer, size         the bytes; trailing ones are ignored.
 * Statuses: 0, MULTILAYER_NULL, MULTILAYER_BYTE_ORDER, MULTILAYER_VERSION, MULTILAYER_REJECTED.
 * Afterwards: as MultiLayerLoad. */
MULTILAYER_EXPORT int32_t MultiLayerFromBuffer(MultiLayerHandle handle, const uint8_t* buffer,
                                               uint64_t size);

/* Tells how many bytes MultiLayerToBuffer needs.
 *   size                 out.
 * Statuses: 0, MULTILAYER_NULL, MULTILAYER_NOTHING. */
MULTILAYER_EXPORT int32_t MultiLayerGetBufferSize(MultiLayerHandle handle, uint64_t* size);

#ifdef __cplusplus
}
#endif

#endif /* MULTILAYER_API_MULTILAYER_H */
