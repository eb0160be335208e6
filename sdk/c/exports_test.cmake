# Checks that LIBRARY exports exactly these functions, with the symbol reader NM, or with OBJDUMP on Windows.
cmake_minimum_required(VERSION 3.25)

set(expected
    orvane_abi orvane_close orvane_decrypt_file orvane_describe orvane_describe_file orvane_element_type_name
    orvane_encrypt_file orvane_error_free orvane_error_host_end orvane_error_message orvane_error_reason
    orvane_error_system orvane_get_output orvane_infer orvane_input_memory orvane_interrupt orvane_list_devices orvane_open
    orvane_reason_name orvane_reshape_file orvane_resize orvane_restart orvane_run orvane_set_input orvane_set_log
    orvane_tensor_count orvane_version orvane_view_output)

if(LIBRARY MATCHES "[.]dll$")
    execute_process(COMMAND ${OBJDUMP} -p ${LIBRARY} OUTPUT_VARIABLE listed COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX MATCH "\\[Ordinal/Name Pointer\\] Table[^\n]*\n([^\n]+\n)+" listed "${listed}")
    string(REGEX MATCHALL "\\[ *[0-9]+\\] [^\n]+" lines "${listed}")
    list(TRANSFORM lines REPLACE "^.*\\] " "")
else()
    execute_process(COMMAND ${NM} -D --defined-only ${LIBRARY} OUTPUT_VARIABLE listed COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX MATCHALL "[^ \n]+\n" lines "${listed}")
    list(TRANSFORM lines STRIP)
endif()
list(SORT lines)
if(NOT lines STREQUAL expected)
    message(FATAL_ERROR "${LIBRARY} exports\n${lines}\ninstead of\n${expected}")
endif()
