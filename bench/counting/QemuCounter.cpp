// SPDX-License-Identifier: Apache-2.0
//
// A plugin of the emulator qemu-arm that counts the instructions that a guest program executes
// inside one function, split by function: of its own, and with what it calls. It follows calls and
// returns at block ends: a block that ends in "bl" or "blx" calls what is executed next, and the
// call is over when the address behind that block is reached. An instruction that is skipped by
// its condition counts as executed.
//
//   qemu-arm -d plugin -plugin qemu_counter.so,root=FUNCTION,out=FILE PROGRAM
//
// FILE: a line "name calls inclusive own divisions ownDivisions" for each function, separated by
// tabs; divisions are the calls of the compiler's division routines, with those of what the function
// calls, and its own.

#include <cxxabi.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "bench/counting/QemuPluginApi.h"

int qemu_plugin_version = 1;

namespace {

constexpr char kNoSymbol[] = "(no symbol)";

struct Function {
    std::string name;
    bool isDivision = false;
    uint64_t calls = 0;
    uint64_t inclusive = 0;
    uint64_t own = 0;
    uint64_t divisions = 0;
    uint64_t ownDivisions = 0;
    int active = 0;  // times on the stack
};

struct Block {
    uint64_t start;
    uint64_t end;
    uint64_t instructions;
    Function* function;
    bool endsInCall;
};

// A call under way.
struct Frame {
    Function* function;
    uint64_t returnAddress;
    uint64_t executedBefore;
    uint64_t divisionsBefore;
};

bool StartsWith(const std::string& text, const char* start) {
    return text.compare(0, std::strlen(start), start) == 0;
}

// The division routines of the run-time library, by any of their names.
bool IsDivisionName(const std::string& name) {
    for (const char* start : {"__aeabi_idiv", "__aeabi_uidiv", "__aeabi_ldiv", "__aeabi_uldiv",
                              "__div", "__udiv", "__mod", "__umod", ".div", ".udiv"}) {
        if (StartsWith(name, start)) {
            return true;
        }
    }
    return false;
}

// "bl" and "blx", also with a condition ("blne"); not the conditional jumps "ble", "blt", "bls" and
// "blo".
bool IsCall(const std::string& instruction) {
    const std::string mnemonic = instruction.substr(0, instruction.find_first_of(" \t."));
    return mnemonic == "bl" || mnemonic == "blx" ||
           (mnemonic.size() >= 4 && StartsWith(mnemonic, "bl"));
}

class Counter {
  public:
    void Configure(const std::string& root, const std::string& out) {
        root_ = root;
        out_ = out;
    }

    Block* AddBlock(const Block& block, const char* symbol) {
        blocks_.push_back(std::make_unique<Block>(block));
        blocks_.back()->function = FunctionOf(symbol != nullptr ? symbol : kNoSymbol);
        return blocks_.back().get();
    }

    void Execute(const Block& block) {
        const Block* previous = previous_;
        previous_ = &block;
        if (previous != nullptr) {
            Follow(*previous, block);
        }
        if (!stack_.empty()) {
            executed_ += block.instructions;
            block.function->own += block.instructions;
        }
    }

    void Write() const {
        std::FILE* file = std::fopen(out_.c_str(), "w");
        if (file == nullptr) {
            std::fprintf(stderr, "qemu_counter: cannot write %s\n", out_.c_str());
            return;
        }
        for (const auto& entry : functions_) {
            const Function& function = *entry.second;
            if (function.calls > 0 || function.own > 0) {
                std::fprintf(file, "%s\t%llu\t%llu\t%llu\t%llu\t%llu\n",
                             Readable(function.name).c_str(), Number(function.calls),
                             Number(function.inclusive), Number(function.own),
                             Number(function.divisions), Number(function.ownDivisions));
            }
        }
        std::fclose(file);
    }

  private:
    static unsigned long long Number(uint64_t value) { return value; }

    static std::string Readable(const std::string& name) {
        int status = 0;
        char* text = abi::__cxa_demangle(name.c_str(), nullptr, nullptr, &status);
        const std::string readable = status == 0 ? text : name;
        std::free(text);
        return readable;
    }

    Function* FunctionOf(const std::string& name) {
        std::unique_ptr<Function>& function = functions_[name];
        if (function == nullptr) {
            function = std::make_unique<Function>();
            function->name = name;
            function->isDivision = IsDivisionName(name);
        }
        return function.get();
    }

    // What the step from one block to the next means.
    void Follow(const Block& from, const Block& to) {
        if (from.endsInCall && to.start != from.end) {
            if (!stack_.empty() || to.function->name == root_) {
                Push(to.function, from.end);
            }
        } else if (!stack_.empty() && !Return(to.start) && to.function != from.function) {
            Jump(to.function);
        }
    }

    void Push(Function* function, uint64_t returnAddress) {
        if (function->isDivision && !IsDividing()) {
            ++divisions_;
            CallerOfDivision()->ownDivisions += 1;
        }
        ++function->calls;
        ++function->active;
        stack_.push_back({function, returnAddress, executed_, divisions_});
    }

    // A division routine may go on in another one.
    bool IsDividing() const { return stack_.empty() || stack_.back().function->isDivision; }

    // Some division routines have an entry without a symbol, through which they are called.
    Function* CallerOfDivision() const {
        size_t frame = stack_.size() - 1;
        while (frame > 0 && stack_[frame].function->name == kNoSymbol) {
            --frame;
        }
        return stack_[frame].function;
    }

    void Pop() {
        const Frame frame = stack_.back();
        stack_.pop_back();
        --frame.function->active;
        if (frame.function->active == 0) {
            frame.function->inclusive += executed_ - frame.executedBefore;
            frame.function->divisions += divisions_ - frame.divisionsBefore;
        }
    }

    // Ends the calls that return to an address; false when none does.
    bool Return(uint64_t address) {
        size_t frame = stack_.size();
        while (frame > 0 && stack_[frame - 1].returnAddress != address) {
            --frame;
        }
        if (frame == 0) {
            return false;
        }
        // A function that was jumped to at the end of another returns for both.
        while (frame > 1 && stack_[frame - 2].returnAddress == address) {
            --frame;
        }
        while (stack_.size() >= frame) {
            Pop();
        }
        return true;
    }

    // From one function into another without a call: a call in last place, or one between the parts
    // into which the compiler has split a function.
    void Jump(Function* function) {
        const uint64_t returnAddress = stack_.back().returnAddress;
        size_t frame = stack_.size();
        while (frame > 0 && stack_[frame - 1].returnAddress == returnAddress) {
            --frame;
            if (stack_[frame].function == function) {
                while (stack_.size() > frame + 1) {
                    Pop();
                }
                return;
            }
        }
        Push(function, returnAddress);
    }

    std::string root_;
    std::string out_;
    std::map<std::string, std::unique_ptr<Function>> functions_;
    std::vector<std::unique_ptr<Block>> blocks_;
    std::vector<Frame> stack_;
    const Block* previous_ = nullptr;
    uint64_t executed_ = 0;
    uint64_t divisions_ = 0;
};

Counter counter;

void OnExecution(unsigned int /*vcpu*/, void* block) {
    counter.Execute(*static_cast<const Block*>(block));
}

void OnTranslation(qemu_plugin_id_t /*id*/, qemu_plugin_tb* translated) {
    const size_t count = qemu_plugin_tb_n_insns(translated);
    const qemu_plugin_insn* last = qemu_plugin_tb_get_insn(translated, count - 1);
    char* text = qemu_plugin_insn_disas(last);
    Block block = {};
    block.start = qemu_plugin_tb_vaddr(translated);
    block.end = qemu_plugin_insn_vaddr(last) + qemu_plugin_insn_size(last);
    block.instructions = count;
    block.endsInCall = text != nullptr && IsCall(text);
    std::free(text);
    const char* symbol = qemu_plugin_insn_symbol(qemu_plugin_tb_get_insn(translated, 0));
    qemu_plugin_register_vcpu_tb_exec_cb(translated, OnExecution, QEMU_PLUGIN_CB_NO_REGS,
                                         counter.AddBlock(block, symbol));
}

void OnExit(qemu_plugin_id_t /*id*/, void* /*userData*/) {
    counter.Write();
}

}  // namespace

int qemu_plugin_install(qemu_plugin_id_t id, const qemu_info_t* /*info*/, int argumentCount,
                        char** arguments) {
    std::string root;
    std::string out;
    for (int i = 0; i < argumentCount; ++i) {
        const std::string argument = arguments[i];
        if (StartsWith(argument, "root=")) {
            root = argument.substr(5);
        } else if (StartsWith(argument, "out=")) {
            out = argument.substr(4);
        }
    }
    if (root.empty() || out.empty()) {
        std::fprintf(stderr, "qemu_counter: needs root=FUNCTION,out=FILE\n");
        return 1;
    }
    counter.Configure(root, out);
    qemu_plugin_register_vcpu_tb_trans_cb(id, OnTranslation);
    qemu_plugin_register_atexit_cb(id, OnExit, nullptr);
    return 0;
}
