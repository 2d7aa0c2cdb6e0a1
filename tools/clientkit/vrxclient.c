/* SPDX-License-Identifier: LGPL-3.0-or-later */
#define _GNU_SOURCE
#include "vrxclient.h"

#include <arpa/inet.h>
#include <errno.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

struct vrxclient {
    int fd;
    uint64_t sent;
    uint64_t acked;
    uint64_t acks;
    int ack_error;
    unsigned char partial[8]; /* an acknowledgement split across reads */
    size_t partial_len;
};

static int send_all(int fd, const void *data, size_t length)
{
    const char *p = (const char *)data;
    while (length > 0) {
        ssize_t n = send(fd, p, length, MSG_NOSIGNAL);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return -1;
        }
        p += n;
        length -= (size_t)n;
    }
    return 0;
}

static int recv_all(int fd, void *data, size_t length)
{
    char *p = (char *)data;
    while (length > 0) {
        ssize_t n = recv(fd, p, length, 0);
        if (n == 0) {
            errno = ECONNRESET;
            return -1;
        }
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return -1;
        }
        p += n;
        length -= (size_t)n;
    }
    return 0;
}

vrxclient *vrxclient_connect(uint16_t port)
{
    int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0)
        return NULL;
    struct sockaddr_in addr;
    memset(&addr, 0, sizeof addr);
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = inet_addr("127.0.0.1");
    addr.sin_port = htons(port);
    if (connect(fd, (struct sockaddr *)&addr, sizeof addr) != 0) {
        int err = errno;
        close(fd);
        errno = err;
        return NULL;
    }
    int on = 1;
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    vrxclient *c = (vrxclient *)calloc(1, sizeof *c);
    if (!c) {
        close(fd);
        return NULL;
    }
    c->fd = fd;
    return c;
}

void vrxclient_close(vrxclient *c)
{
    if (!c)
        return;
    close(c->fd);
    free(c);
}

int vrxclient_fd(const vrxclient *c) { return c->fd; }

static void put_u64(unsigned char *p, uint64_t v)
{
    /* The record is little-endian on the wire. */
    for (int i = 0; i < 8; ++i)
        p[i] = (unsigned char)(v >> (8 * i));
}

void vrxclient_encode_id(const vrxclient_id *id, unsigned char out[VRXCLIENT_ID_SIZE])
{
    memset(out, 0, VRXCLIENT_ID_SIZE);
    put_u64(out + 0, id->process_id ? id->process_id : (uint64_t)getpid());
    put_u64(out + 8, id->cu_handle);
    put_u64(out + 16, id->device_address);
    put_u64(out + 24, id->device_number);
    memcpy(out + 32, "OKAV", 4);
    if (id->interface_name)
        strncpy((char *)out + 36, id->interface_name, 31);
    if (id->device_type)
        strncpy((char *)out + 68, id->device_type, 31);
}

int vrxclient_identify_raw(vrxclient *c, const void *record, size_t length, int64_t *received)
{
    int64_t answer = 0;
    if (send_all(c->fd, record, length) != 0 || recv_all(c->fd, &answer, 8) != 0)
        return -1;
    if (received)
        *received = answer;
    return 0;
}

int vrxclient_identify(vrxclient *c, const vrxclient_id *id, int64_t *received)
{
    unsigned char rec[VRXCLIENT_ID_SIZE];
    vrxclient_encode_id(id, rec);
    return vrxclient_identify_raw(c, rec, sizeof rec, received);
}

int vrxclient_receive_settings(vrxclient *c, vrxclient_settings *out)
{
    uint32_t raw[4];
    if (recv_all(c->fd, raw, sizeof raw) != 0)
        return -1;
    if (out) {
        out->trace_level = raw[0];
        out->timestamp = raw[1];
        out->device_mask = raw[2];
    }
    const uint64_t reply = 0;
    return send_all(c->fd, &reply, sizeof reply);
}

int vrxclient_handshake(vrxclient *c, const vrxclient_id *id, vrxclient_settings *out)
{
    int64_t received = 0;
    if (vrxclient_identify(c, id, &received) != 0)
        return -1;
    return vrxclient_receive_settings(c, out);
}

int vrxclient_send(vrxclient *c, const void *data, size_t length)
{
    if (send_all(c->fd, data, length) != 0)
        return -1;
    c->sent += length;
    return 0;
}

int vrxclient_log(vrxclient *c, const char *line, int with_timestamp)
{
    size_t len = strlen(line);
    int add_lf = len == 0 || line[len - 1] != '\n';
    size_t total = len + (size_t)add_lf + (with_timestamp ? VRXCLIENT_TIMESTAMP_LEN : 0);
    char stackbuf[1024];
    char *buf = total <= sizeof stackbuf ? stackbuf : (char *)malloc(total);
    if (!buf)
        return -1;
    size_t pos = 0;
    if (with_timestamp) {
        char ts[VRXCLIENT_TIMESTAMP_LEN + 1];
        vrxclient_format_timestamp(ts);
        memcpy(buf, ts, VRXCLIENT_TIMESTAMP_LEN);
        pos = VRXCLIENT_TIMESTAMP_LEN;
    }
    memcpy(buf + pos, line, len);
    pos += len;
    if (add_lf)
        buf[pos++] = '\n';
    int rc = vrxclient_send(c, buf, pos);
    if (buf != stackbuf)
        free(buf);
    return rc;
}

int vrxclient_command(vrxclient *c, const char *text)
{
    size_t len = strlen(text);
    char *buf = (char *)malloc(len + 10);
    if (!buf)
        return -1;
    memcpy(buf, "RunCmd(", 7);
    memcpy(buf + 7, text, len);
    memcpy(buf + 7 + len, ");\n", 3);
    int rc = vrxclient_send(c, buf, len + 10);
    free(buf);
    return rc;
}

static void account_ack(vrxclient *c, int64_t count)
{
    c->acks++;
    if (count <= 0 || count > 4096 || c->acked + (uint64_t)count > c->sent)
        c->ack_error = 1;
    if (count > 0)
        c->acked += (uint64_t)count;
}

int vrxclient_read_ack(vrxclient *c, int64_t *count, int timeout_ms)
{
    while (c->partial_len < 8) {
        struct pollfd p = {c->fd, POLLIN, 0};
        int r = poll(&p, 1, timeout_ms);
        if (r < 0) {
            if (errno == EINTR)
                continue;
            return -1;
        }
        if (r == 0) {
            errno = ETIMEDOUT;
            return -1;
        }
        ssize_t n = recv(c->fd, c->partial + c->partial_len, 8 - c->partial_len, 0);
        if (n == 0) {
            errno = ECONNRESET;
            return -1;
        }
        if (n < 0) {
            if (errno == EINTR || errno == EAGAIN)
                continue;
            return -1;
        }
        c->partial_len += (size_t)n;
    }
    int64_t v;
    memcpy(&v, c->partial, 8);
    c->partial_len = 0;
    account_ack(c, v);
    if (count)
        *count = v;
    return 0;
}

int vrxclient_poll_acks(vrxclient *c)
{
    for (;;) {
        ssize_t n = recv(c->fd, c->partial + c->partial_len, 8 - c->partial_len, MSG_DONTWAIT);
        if (n == 0) {
            errno = ECONNRESET;
            return -1;
        }
        if (n < 0)
            return (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR) ? 0 : -1;
        c->partial_len += (size_t)n;
        if (c->partial_len == 8) {
            int64_t v;
            memcpy(&v, c->partial, 8);
            c->partial_len = 0;
            account_ack(c, v);
        }
    }
}

int vrxclient_wait_all_acked(vrxclient *c, int timeout_ms)
{
    while (c->acked < c->sent) {
        if (vrxclient_read_ack(c, NULL, timeout_ms) != 0)
            return -1;
    }
    return 0;
}

uint64_t vrxclient_bytes_sent(const vrxclient *c) { return c->sent; }
uint64_t vrxclient_bytes_acked(const vrxclient *c) { return c->acked; }
uint64_t vrxclient_acks_received(const vrxclient *c) { return c->acks; }
int vrxclient_ack_error(const vrxclient *c) { return c->ack_error; }

void vrxclient_format_timestamp(char out[VRXCLIENT_TIMESTAMP_LEN + 1])
{
    struct timeval tv;
    gettimeofday(&tv, NULL);
    struct tm tmv;
    time_t t = tv.tv_sec;
    gmtime_r(&t, &tmv);
    char head[32];
    strftime(head, sizeof head, "[%Y-%m-%dT%H:%M:%S", &tmv);
    char full[64];
    snprintf(full, sizeof full, "%.20s.%03dZ] ", head, (int)(tv.tv_usec / 1000) % 1000);
    memcpy(out, full, VRXCLIENT_TIMESTAMP_LEN);
    out[VRXCLIENT_TIMESTAMP_LEN] = '\0';
}
