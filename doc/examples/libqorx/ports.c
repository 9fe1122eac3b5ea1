/*
 * Lists the ports that have a LAN bypass, by the label on the front panel.
 * Usage: ports [PLATFORM-FILE]
 */
#include <qorx.h>
#include <stdio.h>

static int has_bypass(const struct qorx_eth_device_record *port)
{
	return (port->feature & (QORX_FEATURE_A_BYPASS | QORX_FEATURE_L_BYPASS |
	    QORX_FEATURE_A_BYPASS_I2C)) != 0;
}

int main(int argc, char **argv)
{
	int32_t code;
	uint32_t i;

	if (argc > 1) {
		g_config_flag = 1;
		snprintf(g_config_file_name, sizeof g_config_file_name, "%s", argv[1]);
	}

	code = qorx_open();
	if (code != 0) {
		qorx_print_error_message(code);
		return code & 0xff;
	}
	for (i = 0; i < qorx_system_environment_info.eth_device_number; i++) {
		const struct qorx_eth_device_record *port = &qorx_eth_device_mapping[i];

		if (!has_bypass(port))
			continue;
		printf("%s %02x:%02x.%x %s, %s", port->eth_name, port->bus, port->dev,
		    port->fun, port->slot_name[0] ? port->panel_name : "no slot",
		    port->model);
		if (port->seg != QORX_ABSENT)
			printf(", segment %d", port->seg);
		printf("\n");
	}
	code = qorx_close();
	if (fflush(stdout) != 0)
		return 1;
	return code & 0xff;
}
