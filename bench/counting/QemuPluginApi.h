// SPDX-License-Identifier: Apache-2.0
//
// The part of the emulator's plugin interface (version 1, QEMU 7) that the counter uses. Debian
// packages the emulator without its header.
#pragma once

#include <cstddef>
#include <cstdint>

extern "C" {

using qemu_plugin_id_t = uint64_t;

struct qemu_info_t;       // about the emulator; not looked at
struct qemu_plugin_tb;    // a block of guest code as it is translated
struct qemu_plugin_insn;  // one of its instructions

enum qemu_plugin_cb_flags {
    QEMU_PLUGIN_CB_NO_REGS,  // the callback looks at no registers
    QEMU_PLUGIN_CB_R_REGS,
    QEMU_PLUGIN_CB_RW_REGS,
};

using qemu_plugin_vcpu_tb_trans_cb_t = void (*)(qemu_plugin_id_t id, qemu_plugin_tb* block);
using qemu_plugin_vcpu_udata_cb_t = void (*)(unsigned int vcpu, void* userData);
using qemu_plugin_udata_cb_t = void (*)(qemu_plugin_id_t id, void* userData);

/// Calls `callback` whenever a block is translated; the block is valid during the call only.
void qemu_plugin_register_vcpu_tb_trans_cb(qemu_plugin_id_t id,
                                           qemu_plugin_vcpu_tb_trans_cb_t callback);

/// Calls `callback` before each execution of a block. Only while it is being translated.
void qemu_plugin_register_vcpu_tb_exec_cb(qemu_plugin_tb* block,
                                          qemu_plugin_vcpu_udata_cb_t callback,
                                          qemu_plugin_cb_flags flags, void* userData);

/// Calls `callback` when the program ends.
void qemu_plugin_register_atexit_cb(qemu_plugin_id_t id, qemu_plugin_udata_cb_t callback,
                                    void* userData);

size_t qemu_plugin_tb_n_insns(const qemu_plugin_tb* block);
uint64_t qemu_plugin_tb_vaddr(const qemu_plugin_tb* block);
qemu_plugin_insn* qemu_plugin_tb_get_insn(const qemu_plugin_tb* block, size_t index);
uint64_t qemu_plugin_insn_vaddr(const qemu_plugin_insn* instruction);
size_t qemu_plugin_insn_size(const qemu_plugin_insn* instruction);

/// Name of the function that holds the instruction; null where there is no symbol. Needs logging
/// switched on (-d).
const char* qemu_plugin_insn_symbol(const qemu_plugin_insn* instruction);

/// The instruction as text, to be freed.
char* qemu_plugin_insn_disas(const qemu_plugin_insn* instruction);

/// What a plugin exports: the version of the interface that it was written for, and its start.
__attribute__((visibility("default"))) extern int qemu_plugin_version;
__attribute__((visibility("default"))) int qemu_plugin_install(qemu_plugin_id_t id,
                                                               const qemu_info_t* info,
                                                               int argumentCount, char** arguments);
}
