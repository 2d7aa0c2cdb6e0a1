/* SPDX-License-Identifier: LGPL-3.0-or-later */
/* The device library's side of the VRX monitor connection, as a small C library: connect,
 * identify, receive the trace settings, stream log text and commands, and wait for the
 * server's per-batch acknowledgements. Every call returns 0 on success and -1 on failure
 * (errno tells why); nothing here needs Qt. */
#ifndef VRXCLIENT_H
#define VRXCLIENT_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define VRXCLIENT_ID_SIZE 100
#define VRXCLIENT_TIMESTAMP_LEN 27

typedef struct vrxclient vrxclient;

typedef struct vrxclient_settings {
    uint32_t trace_level;
    uint32_t timestamp;
    uint32_t device_mask;
} vrxclient_settings;

/* Fields of the 100-byte ID record; strings are cut to 31 characters. */
typedef struct vrxclient_id {
    uint64_t process_id;
    uint64_t cu_handle;
    uint64_t device_address;
    uint64_t device_number;
    const char *interface_name;
    const char *device_type;
} vrxclient_id;

/* Connects to 127.0.0.1:port. Returns NULL on failure. */
vrxclient *vrxclient_connect(uint16_t port);
void vrxclient_close(vrxclient *c);
int vrxclient_fd(const vrxclient *c);

/* Fills the record with this process's ID and "OKAV"; used by vrxclient_identify. */
void vrxclient_encode_id(const vrxclient_id *id, unsigned char out[VRXCLIENT_ID_SIZE]);

/* Sends the ID record and reads the server's 8-byte answer (the bytes it received). */
int vrxclient_identify(vrxclient *c, const vrxclient_id *id, int64_t *received);
/* Same with arbitrary bytes, for clients that want to test a malformed record. */
int vrxclient_identify_raw(vrxclient *c, const void *record, size_t length, int64_t *received);

/* Reads the 16-byte settings record and answers it with 8 bytes. */
int vrxclient_receive_settings(vrxclient *c, vrxclient_settings *out);

/* identify + receive_settings in one call. */
int vrxclient_handshake(vrxclient *c, const vrxclient_id *id, vrxclient_settings *out);

/* Sends bytes as they are (log text, commands, partial lines). */
int vrxclient_send(vrxclient *c, const void *data, size_t length);
/* Sends one log line; a line feed is added when missing, and a client timestamp is put in
 * front when with_timestamp is non-zero. */
int vrxclient_log(vrxclient *c, const char *line, int with_timestamp);
/* Sends "RunCmd(<text>);\n". */
int vrxclient_command(vrxclient *c, const char *text);

/* Reads one acknowledgement; timeout_ms < 0 waits for ever. Returns 0, or -1 on timeout
 * (errno ETIMEDOUT), error or closed connection. */
int vrxclient_read_ack(vrxclient *c, int64_t *count, int timeout_ms);
/* Reads acknowledgements until every byte sent so far is acknowledged. */
int vrxclient_wait_all_acked(vrxclient *c, int timeout_ms);
/* Reads any acknowledgements already waiting, without blocking. */
int vrxclient_poll_acks(vrxclient *c);

uint64_t vrxclient_bytes_sent(const vrxclient *c);
uint64_t vrxclient_bytes_acked(const vrxclient *c);
uint64_t vrxclient_acks_received(const vrxclient *c);
/* Non-zero when an acknowledgement was outside 1..4096 or more than was sent. */
int vrxclient_ack_error(const vrxclient *c);

/* "[YYYY-MM-DDTHH:MM:SS.mmmZ] " for now, UTC, 27 characters plus terminator. */
void vrxclient_format_timestamp(char out[VRXCLIENT_TIMESTAMP_LEN + 1]);

#ifdef __cplusplus
}
#endif

#endif
