/*
 * qorx.h - public interface of libqorx, for C and C++ callers.
 *
 * The library finds every Ethernet port of this machine, works out where each one physically sits, and
 * reports it. A program sets the options below, calls qorx_open() once, reads the tables or calls one of
 * the reporting functions, and calls qorx_close(). All state is process-wide; one thread only.
 *
 * Results of the calls are 0 or one of the QORX_ERR_ codes. A code may travel as the negative number or as
 * its low byte (QORX_ERR_INIT is -107 or 0x95): compare low bytes, or hand it to qorx_print_error_message().
 */
#ifndef QORX_H
#define QORX_H

#include <stdint.h>

#if defined(__GNUC__)
#define QORX_API __attribute__((visibility("default")))
#else
#define QORX_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

enum qorx_error {
  QORX_ERR_OPEN_FILE = -128,
  QORX_ERR_CONF_FILE_FORMAT = -127,
  QORX_ERR_CLOSE_FILE = -125,
  QORX_ERR_CLOSE = -120,
  QORX_ERR_DATA_FORMAT = -116,
  QORX_ERR_SMBIOS_CHECKSUM = -110,
  QORX_ERR_PARAM_OUT_OF_BOUND = -109,
  QORX_ERR_PARAM_NULL_POINTER = -108,
  QORX_ERR_INIT = -107,
  QORX_ERR_COMMAND_NOT_SUPPORT = -106,
  QORX_ERR_MMAP = -105,
  QORX_ERR_OPEN_DIR = -104,
  QORX_ERR_NIC_NOT_EXIST = -103,
  QORX_ERR_SMBIOS_DATA_FORMAT_WRONG = -102
};

/* Feature codes: a bit set of one byte. QORX_FEATURE_MISMATCH is a transient mark: the platform file named
 * another feature than the built-in one; listing a port clears it and prints "(!)". */
enum qorx_feature {
  QORX_FEATURE_NONE = 0x00,
  QORX_FEATURE_POE = 0x01,
  QORX_FEATURE_A_BYPASS = 0x02,
  QORX_FEATURE_L_BYPASS = 0x04,
  QORX_FEATURE_NA = 0x08,
  QORX_FEATURE_NCSI = 0x10,
  QORX_FEATURE_1PPS = 0x20,
  QORX_FEATURE_NCSI_1PPS = 0x30,
  QORX_FEATURE_A_BYPASS_I2C = 0x40,
  QORX_FEATURE_MISMATCH = 0x80
};

enum qorx_limit {
  QORX_MAX_RECORDS = 512,    /* device records, and slot records */
  QORX_NAME_SIZE = 256,      /* names and file names, with their NUL */
  QORX_PATH_SIZE = 512,      /* a port's sysfs path, with its NUL */
  QORX_MAC_SIZE = 18,        /* "00:11:22:33:44:55" and its NUL */
  QORX_RAW_SIZE = 1024,      /* kept bytes of one SMBIOS structure */
  QORX_MAX_DEVICE_IDS = 4,   /* distinct PCI device ids counted behind one slot */
  QORX_MAX_MODULE_NAMES = 3, /* candidate names of one legacy module */
  QORX_ABSENT = 255,         /* in a one-byte field: no PCI address, no segment, no I2C switch */
  QORX_ID_UNKNOWN = 0x10000  /* first value of an id field that means "not known" */
};

/* SMBIOS structure types that describe a port's place (DMTF DSP0134). */
enum qorx_smbios_type { QORX_SMBIOS_SYSTEM_SLOT = 9, QORX_SMBIOS_ONBOARD_DEVICE = 41 };

/* One physical network port. All texts end in NUL within their field. */
struct qorx_eth_device_record {
  char eth_name[QORX_NAME_SIZE];   /* interface name, e.g. "eth0" */
  uint8_t bus;                     /* PCI address of the port's function, domain 0000; */
  uint8_t dev;                     /* all three are QORX_ABSENT when the path names none */
  uint8_t fun;                     /* QORX_ABSENT: no PCI address */
  char slot_name[QORX_NAME_SIZE];  /* designation of the matched slot record, or empty */
  char panel_name[QORX_NAME_SIZE]; /* front-panel label */
  char model[QORX_NAME_SIZE];      /* module or card model */
  uint8_t feature;                 /* enum qorx_feature */
  uint8_t bypass_ctrl_flag;        /* 1: this port carries the bypass controller of its pair */
  char net_path[QORX_PATH_SIZE];   /* link target of /sys/class/net/<eth_name> without "/net/<eth_name>" */
  uint8_t slot_bus;                /* PCI address in the matched slot record */
  uint8_t slot_dev;
  uint8_t slot_fun;
  uint32_t vendor_id; /* PCI ids, or USB ids for a USB adapter; known when below QORX_ID_UNKNOWN */
  uint32_t device_id;
  uint32_t subsys_vendor_id;
  uint32_t subsys_device_id;
  char mac_addr[QORX_MAC_SIZE]; /* as the kernel prints it, or empty */
  uint8_t smbios_type;          /* type of the matched slot record: 9, 41, or 0 for none */
  uint8_t port_index;           /* bus group within its slot: 0 for the lowest PCI bus, 1 for the next, ... */
  uint8_t seg;                  /* bypass segment number, QORX_ABSENT when it has none */
  char module_names[QORX_MAX_MODULE_NAMES][QORX_NAME_SIZE]; /* confirmed candidates of a legacy module */
  uint8_t module_name_count;
  char usb[16];           /* "usb" for a USB adapter, else empty */
  char bypass_type;       /* 'H' host I2C, 'B' baseboard controller, 0 none */
  uint8_t bypass_bus;     /* I2C bus of the bypass controller */
  uint8_t bypass_switch1; /* ports of the I2C switches on the way, 0 to 7 or QORX_ABSENT */
  uint8_t bypass_switch2;
  uint8_t mcu_segment; /* microcontroller segment 1 to 4, onboard ports only */
};

/* One place where a port can sit, from SMBIOS type 9 (system slot) or 41 (onboard device). */
struct qorx_slot_record {
  uint8_t raw[QORX_RAW_SIZE]; /* the SMBIOS structure with its strings, cut to the field */
  uint8_t length;             /* total structure length modulo 256 */
  uint8_t bus;                /* PCI address given by the firmware */
  uint8_t dev;
  uint8_t fun;
  uint8_t type;                          /* enum qorx_smbios_type */
  uint8_t str_index;                     /* number of the designation string */
  char slot_name[QORX_NAME_SIZE];        /* designation, possibly renamed; empty when retired or merged */
  char smbios_slot_name[QORX_NAME_SIZE]; /* designation as the firmware or the override file gave it */
  char model_name[QORX_NAME_SIZE];       /* module found in the slot */
  uint8_t feature;                       /* default feature of a legacy module */
  uint8_t port_count;                    /* ports found behind the slot */
  uint32_t vendor_id;                    /* vendor of the last port that added a device id */
  uint32_t device_id[QORX_MAX_DEVICE_IDS];
  uint8_t device_id_count[QORX_MAX_DEVICE_IDS];
  uint8_t device_id_number;        /* valid entries of device_id */
  char sysfs_path[QORX_NAME_SIZE]; /* sysfs directory of the slot's switch port */
};

struct qorx_environment_info {
  uint32_t eth_smbios_t9_t41_number; /* valid slot records */
  uint32_t eth_device_number;        /* valid device records */
  uint32_t eth_onboard_number;       /* ports on type 41 positions */
  uint32_t smbios_t9_slot_number;    /* type 9 slots with a designation */
};

/* The tables: filled by qorx_open(), valid until the next one. */
extern QORX_API struct qorx_eth_device_record qorx_eth_device_mapping[QORX_MAX_RECORDS];
extern QORX_API struct qorx_slot_record qorx_smbios_t9_t41_mapping[QORX_MAX_RECORDS];
extern QORX_API struct qorx_environment_info qorx_system_environment_info;

/* Options: set them before qorx_open(). A flag is on when it is 1; a file name belongs to the flag above it. */
extern QORX_API int32_t g_config_flag; /* apply the platform file */
extern QORX_API char g_config_file_name[QORX_NAME_SIZE];
extern QORX_API int32_t g_legacy_flag;   /* name modules without subsystem ids by their device ids */
extern QORX_API int32_t g_WMX_name_flag; /* apply the module name file (with g_legacy_flag) */
extern QORX_API char g_WMX_name_file_name[QORX_NAME_SIZE];
extern QORX_API int32_t g_smbios_flag; /* slot records from the override file instead of the firmware */
extern QORX_API char g_smbios_file_name[QORX_NAME_SIZE];
extern QORX_API int32_t g_diag; /* slot records from a recorded entry point and table */
extern QORX_API char g_entry_point_file[QORX_NAME_SIZE];
extern QORX_API char g_dmi_file[QORX_NAME_SIZE];
extern QORX_API int32_t g_force_flag;    /* overwrite features; force segment numbers from 200 */
extern QORX_API int32_t g_sort_slotname; /* order ports by slot name */
extern QORX_API int32_t g_vm_bypass;     /* do not search for SMBIOS */
extern QORX_API int32_t g_novlan;        /* do not list virtual interfaces */

/* Runs the whole identification. Returns 0, or the code of the stage that failed, as a byte; reporting calls
 * are then refused with QORX_ERR_INIT. */
QORX_API int32_t qorx_open(void);

/* Ends the use of the tables. Returns QORX_ERR_INIT (0x95) when the library was not open, else 0. */
QORX_API int32_t qorx_close(void);

/* level 0: no messages; 1: error messages (the default); 2: errors and debug traces. Any other level turns
 * errors on and returns QORX_ERR_PARAM_OUT_OF_BOUND (0x93). */
QORX_API int32_t qorx_set_message_level(int32_t level);

/* Stores the library version. Returns QORX_ERR_PARAM_NULL_POINTER (0x94) for a null pointer. */
QORX_API int32_t qorx_get_lib_version(uint8_t* major, uint8_t* minor);

/* Prints the line that belongs to a code, chosen by its low eight bits. Always prints. */
QORX_API void qorx_print_error_message(int32_t code);

/* Prints the table on standard output. At most one of the filters is not null: an interface name, a feature
 * name such as "POE", or an address such as "5e:00.3" (the last two in any case). */
QORX_API int32_t qorx_print_scan_result(const char* eth_name, const char* feature, const char* bdf);

/* Writes the whole table to a file, which is created or truncated. Returns QORX_ERR_OPEN_FILE when it can't
 * be created and QORX_ERR_CLOSE_FILE when it can't be written completely. */
QORX_API int32_t qorx_fprint_scan_result(const char* file_name);

/* Writes tovix.cfg, the bypass utility's configuration, to the current directory. Codes as above. */
QORX_API int32_t qorx_output_tovix_cfg(void);

/* Prints the counts of onboard positions and slots and what sits in each. */
QORX_API int32_t qorx_print_system_info(void);

/* Prints the list of known cards. */
QORX_API int32_t qorx_print_supported_WMX(void);

#ifdef __cplusplus
}
#endif

#endif
